// SPDX-License-Identifier: Apache-2.0
#include "client/Stream.h"

#include <cabinaudio/foundation/AudioTime.h>
#include <cabinaudio/link/RemoteCall.h>

#include "foundation/Make.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace cabinaudio {

std::uint64_t nowMs() {
    return AudioTime::now() / 1000;
}

Asked<wire::CreateReply> createStream(RemoteCall& rc, std::uint32_t function, AudioTagType tag,
                                      const AudioFormatDesc& format, int streamParam) {
    const wire::CreateRequest request{function, tag, format, streamParam,
                                      static_cast<std::int32_t>(syscall(SYS_getpid))};
    Asked<wire::CreateReply> asked{};
    asked.steps = ask(rc, request, asked.reply, true);
    return asked;
}

Asked<wire::ShareMemoryReply> findRing(RemoteCall& rc, std::uint32_t function, bool flag) {
    Asked<wire::ShareMemoryReply> asked{};
    asked.steps = ask(rc, wire::FunctionRequest{function}, asked.reply, flag);
    return asked;
}

ShareMemoryEx* mapRing(const wire::ShareMemoryReply& place, const char* name, unsigned mode,
                       ShareMemoryUpdateNotificationCallback* callback) {
    const auto* const address =
        reinterpret_cast<const unsigned char*>(static_cast<std::uintptr_t>(place.address));
    return make<ShareMemoryEx>(SHM_TYPE_PHYS_MEM, name, address, place.size, mode, callback);
}

std::uint64_t wakeAfterUpdate(const RingWaiter& waiter) {
    std::uint64_t updated = 0;
    {
        const AudioMutex::AutoLock lock(waiter.lock);
        if (!waiter.isBlocked) return 0;
        ShareMemoryEx* const ring = waiter.ring;
        updated = ring != nullptr && ring->isUsable() ? ring->getUpdateTime() : nowMs();
    }
    // Unlocked, so that whoever waits does not wake up only to wait for the lock.
    waiter.changed.signal();
    return nowMs() - updated;
}

std::int32_t clearCapture(AudioStreamState state, ShareMemoryEx* ring, const char* name,
                          const LogSite& site) {
    if (state != IDLE) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]state is not IDLE, clear failed, mstate:%d\n",
                     name, state);
        return AUDIO_INVALID_STATE;
    }
    if (ring != nullptr) ring->clear();
    AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "[%s] clear finish state: IDLE\n", name);
    return AUDIO_NO_ERROR;
}

}  // namespace cabinaudio
