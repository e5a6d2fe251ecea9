// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/rings/ServerRing.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace cabinaudio::server {

/// Reader's view of a playback stream's ring, in whole frames.
class StreamRing : public ServerRing {
public:
    /// Contiguous frames in memory shared with the client: their bytes may change between two
    /// reads.
    struct View {
        const std::uint8_t* data;
        std::size_t frames;
    };

    /// @param place    of a size that is a multiple of the frame
    /// @param onWrite  called on a thread of the ring whenever the client has written; may be null
    StreamRing(RingPlace place, std::size_t frameBytes,
               ShareMemoryUpdateNotificationCallback* onWrite);

    /// Frames queued in the ring.
    [[nodiscard]] std::size_t usedFrames() const { return usedBytes() / mFrameBytes; }

    [[nodiscard]] View readable();
    /// Frees the first `frames` of `view`, and wakes a waiting client.
    void consume(const View& view, std::size_t frames);

    /// Whether the client's writer waits for space. May still be true shortly after consume(),
    /// until the writer has noticed; see wakeWriter().
    [[nodiscard]] bool isWriterWaiting() const { return ring().getWait(); }
    /// Whether consume() posts the client's semaphore.
    [[nodiscard]] bool notifiesWriter() const;
    /// Wakes a waiting writer, whether there is space or not: its wait begins anew. From here on
    /// isWriterWaiting() is true only for a wait that has begun after this call.
    void wakeWriter();
    /// Bytes that the client can write.
    [[nodiscard]] std::size_t freeBytes() const { return ring().getFreeSize(); }

    /// A change of the ring's header that a correct client never makes; empty if none.
    [[nodiscard]] std::string damage() const;

private:
    std::size_t mFrameBytes;
    const std::uint8_t* mBase = nullptr;
};

}  // namespace cabinaudio::server
