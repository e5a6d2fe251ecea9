// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/rings/ServerRing.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace cabinaudio::server {

/// The ring of a playback stream, seen as whole frames by its reader.
class StreamRing : public ServerRing {
public:
    /// Frames that lie in one piece, in the client's memory: another look may show other bytes.
    struct View {
        const std::uint8_t* data;
        std::size_t frames;
    };

    /// @param place    of a size that is a multiple of the frame
    /// @param onWrite  told on a thread of the ring whenever the client has written; may be null
    StreamRing(RingPlace place, std::size_t frameBytes,
               ShareMemoryUpdateNotificationCallback* onWrite);

    /// Frames that wait in the ring.
    [[nodiscard]] std::size_t usedFrames() const { return usedBytes() / mFrameBytes; }

    [[nodiscard]] View readable();
    /// Frees the first `frames` of `view` for the client and wakes it if it waits.
    void consume(const View& view, std::size_t frames);

    /// What the client has done to the ring's header that no client does; empty if nothing.
    [[nodiscard]] std::string damage() const;

private:
    std::size_t mFrameBytes;
    const std::uint8_t* mBase = nullptr;
};

}  // namespace cabinaudio::server
