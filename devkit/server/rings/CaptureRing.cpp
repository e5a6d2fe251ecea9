// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/rings/CaptureRing.h"

#include "devkit/server/base/Text.h"
#include "wire/Ring.h"

#include <atomic>
#include <utility>

namespace cabinaudio::server {

CaptureRing::CaptureRing(RingPlace place, ShareMemoryUpdateNotificationCallback* onRead)
    : ServerRing(std::move(place), SHM_MODE_WRITER, onRead) {}

bool CaptureRing::write(std::span<const std::uint8_t> frame) {
    if (ring().getFreeSize() < frame.size()) return false;
    ring().write(frame.data(), static_cast<unsigned>(frame.size()));
    return true;
}

bool CaptureRing::notifiesReader() const {
    return std::atomic_ref(header().readNotify).load(std::memory_order_relaxed) != 0;
}

std::string CaptureRing::damage() const {
    if (std::string changed = sizeDamage(); !changed.empty()) return changed;
    if (ring().getReadOffset() >= size())
        return format("set its ring's read offset to %u", ring().getReadOffset());
    if (ring().getWriteOffset() >= size())
        return format("set its ring's write offset to %u", ring().getWriteOffset());
    return {};
}

}  // namespace cabinaudio::server
