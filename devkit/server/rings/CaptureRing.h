// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/rings/ServerRing.h"

#include <cstdint>
#include <span>
#include <string>

namespace cabinaudio::server {

/// Writer's view of a capture stream's ring.
class CaptureRing : public ServerRing {
public:
    /// @param onRead  called on a thread of the ring whenever the client has read; may be null
    CaptureRing(RingPlace place, ShareMemoryUpdateNotificationCallback* onRead);

    /// Writes all or nothing, and wakes a waiting client. @return whether it fitted
    bool write(std::span<const std::uint8_t> frame);

    /// Whether write() posts the client's semaphore.
    [[nodiscard]] bool notifiesReader() const;

    /// Requests a notification when the client takes data, whichever way it reads.
    void askForSpace() { ring().setWait(true); }

    /// Wakes a waiting reader, whether there is data or not: its wait begins anew.
    void wakeReader() { ring().updateWriteOffset(ring().getWriteOffset()); }

    /// A change of the ring's header that a correct client never makes; empty if none.
    [[nodiscard]] std::string damage() const;
};

}  // namespace cabinaudio::server
