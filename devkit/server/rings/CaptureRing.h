// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/rings/ServerRing.h"

#include <cstdint>
#include <span>
#include <string>

namespace cabinaudio::server {

/// The ring of a capture stream, seen by its writer.
class CaptureRing : public ServerRing {
public:
    /// @param onRead  told on a thread of the ring whenever the client has read; may be null
    CaptureRing(RingPlace place, ShareMemoryUpdateNotificationCallback* onRead);

    /// Writes all or nothing, and wakes the client when it waits. @return whether it fitted
    bool write(std::span<const std::uint8_t> frame);

    /// The client is to say when it has taken something out, however it does that.
    void askForSpace() { ring().setWait(true); }

    /// What the client has done to the ring's header that no client does; empty if nothing.
    [[nodiscard]] std::string damage() const;
};

}  // namespace cabinaudio::server
