// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioMemory.h>

#include <android/log.h>

#include <cstdlib>

namespace {

// Fixed line numbers in the log. Kept as is: part of the interface.
constexpr unsigned MALLOC_LINE = 8;
constexpr unsigned REALLOC_LINE = 22;

void* existing(void* buf, const char* function, unsigned line) {
    if (buf != nullptr) return buf;
    __android_log_print(ANDROID_LOG_ERROR, "AS", "[%s][%s][%04u]AUDIO ASSERT(buf)!\n",
                        "AudioMemory", function, line);
    std::abort();
}

}  // namespace

void* AudioNormalMalloc(std::uint32_t size) {
    return existing(std::malloc(size), __func__, MALLOC_LINE);
}

void* AudioNormalRealloc(void* ptr, std::uint32_t size) {
    return existing(std::realloc(ptr, size), __func__, REALLOC_LINE);
}

void AudioNormalFree(void* ptr) {
    std::free(ptr);
}
