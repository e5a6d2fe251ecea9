// SPDX-License-Identifier: Apache-2.0
#include "client/Stream.h"

#include <cabinaudio/foundation/AudioTime.h>

#include "foundation/Make.h"
#include "shm/RingAccess.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace cabinaudio {

std::uint64_t nowMs() {
    return AudioTime::now() / 1000;
}

wire::CreateRequest createRequest(std::uint32_t function, AudioTagType tag,
                                  const AudioFormatDesc& format, int streamParam) {
    return {function, tag, format, streamParam, static_cast<std::int32_t>(syscall(SYS_getpid))};
}

ShareMemoryEx* adoptRing(std::atomic<ShareMemoryEx*>& slot, const wire::ShareMemoryReply& place,
                         const char* name, unsigned mode,
                         ShareMemoryUpdateNotificationCallback* callback) {
    ShareMemoryEx* const current = slot.load();
    // Two mappings of one object would have two receiver threads that share the posts of its
    // semaphore, and some posts would wake the wrong thread.
    if (current != nullptr && RingAccess::mapsAnnounced(*current, place.address, place.size))
        return nullptr;
    const auto* const address =
        reinterpret_cast<const unsigned char*>(static_cast<std::uintptr_t>(place.address));
    auto* const ring =
        make<ShareMemoryEx>(SHM_TYPE_PHYS_MEM, name, address, place.size, mode, callback);
    if (current != nullptr && current->isUsable() && !ring->isUsable()) {
        RingAccess::keepName(*ring);
        return ring;
    }
    slot = ring;
    return current;
}

void deleteRing(StreamLink& link, ShareMemoryEx* ring) {
    if (ring == nullptr) return;
    link.ringVisitors.drain();
    delete ring;
}

}  // namespace cabinaudio
