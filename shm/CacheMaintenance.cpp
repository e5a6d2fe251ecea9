// SPDX-License-Identifier: Apache-2.0
#include "shm/CacheMaintenance.h"

#include "shm/RingLog.h"
#include "shm/ShareMemoryHandle.h"
#include "wire/Ring.h"

#include <sys/ioctl.h>

namespace cabinaudio {
namespace {

wire::CacheRange rangeOf(const unsigned char* start, std::uint32_t length) {
    return {static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(start)), length};
}

}  // namespace

void cache_invalidate(const ShareMemoryHandle* hdl, const unsigned char* start,
                      std::uint32_t length) {
    if (hdl->cacheFd < 0) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, ringSite(__func__), "invalid gCachefd\n");
        return;
    }
    wire::CacheRange range = rangeOf(start, length);
    const int result = ioctl(hdl->cacheFd, wire::CACHE_INVALIDATE, &range);
    if (result != 0)
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, ringSite(__func__), "cache invalidate failed(%d)\n",
                     result);
}

void cache_clean(const ShareMemoryHandle* hdl, const unsigned char* start, std::uint32_t length) {
    if (hdl->cacheFd < 0) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, ringSite(__func__), "invalid gCachefd\n");
        return;
    }
    wire::CacheRange range = rangeOf(start, length);
    const int result = ioctl(hdl->cacheFd, wire::CACHE_CLEAN, &range);
    if (result != 0)
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, ringSite(__func__), "cache clean failed(%d)\n", result);
}

}  // namespace cabinaudio
