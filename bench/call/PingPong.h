// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/Frame.h"
#include "wire/Stream.h"

namespace cabinaudio::bench {

/// Lower bound for a request: one send and one blocking recv on one thread, with the bytes of a
/// request with one argument and of its reply. A design with a receive thread cannot be as fast.
class PingPong {
public:
    PingPong();
    ~PingPong();
    PingPong(const PingPong&) = delete;
    PingPong& operator=(const PingPong&) = delete;

    /// @return whether a complete reply has arrived
    bool roundTrip();

private:
    struct Message {
        audio_param header;
        std::uint32_t payload[2];
    };
    struct Answer {
        SocketFrameHeader header;
        wire::StatusReply body;
    };
    static constexpr std::size_t ANSWER_BYTES =
        sizeof(SocketFrameHeader) + sizeof(wire::StatusReply);
    static_assert(sizeof(Message) == 96 && ANSWER_BYTES == 36);

    int mSocket;
    Message mMessage{};
    Answer mAnswer{};
};

}  // namespace cabinaudio::bench
