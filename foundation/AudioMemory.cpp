// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioMemory.h>

#include "foundation/Log.h"

#include <cstdlib>

namespace {

// Deliberate: fixed line numbers, which crash reports are grouped by.
constexpr cabinaudio::LogSite kMallocSite{"AudioMemory", "AudioNormalMalloc", 8};
constexpr cabinaudio::LogSite kReallocSite{"AudioMemory", "AudioNormalRealloc", 22};

void* existing(void* buf, const cabinaudio::LogSite& site) {
    if (buf != nullptr) return buf;
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "AUDIO ASSERT(buf)!\n");
    std::abort();
}

}  // namespace

void* AudioNormalMalloc(std::uint32_t size) {
    return existing(std::malloc(size), kMallocSite);
}

void* AudioNormalRealloc(void* ptr, std::uint32_t size) {
    return existing(std::realloc(ptr, size), kReallocSite);
}

void AudioNormalFree(void* ptr) {
    std::free(ptr);
}
