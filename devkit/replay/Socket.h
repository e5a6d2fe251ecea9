// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/replay/Conversation.h"
#include "devkit/replay/Waker.h"

#include <chrono>
#include <cstddef>
#include <span>

namespace cabinaudio::replay {

/// A connection between a client and a server, from either side.
class Socket {
public:
    enum class State { Open, Closed };

    explicit Socket(UniqueFd fd) : mFd(std::move(fd)) {}

    /// Blocks at most for `bound`. @return false when the other side is gone or reads nothing
    [[nodiscard]] bool send(std::span<const std::uint8_t> bytes, std::chrono::milliseconds bound);

    /// Appends what has arrived to received(). Does not block.
    State receive();
    [[nodiscard]] Bytes& received() { return mReceived; }
    /// The first bytes of received(), which are removed. @param size  at most that many
    [[nodiscard]] Bytes take(std::size_t size);

    void close() { mFd.reset(); }
    [[nodiscard]] bool isOpen() const { return static_cast<bool>(mFd); }
    [[nodiscard]] int fd() const { return mFd.get(); }

private:
    UniqueFd mFd;
    Bytes mReceived;
};

/// @throws Error  no server listens
[[nodiscard]] Socket connectToServer();

/// A socket that listens in place of the server.
/// @throws Error  a server listens
[[nodiscard]] UniqueFd listenAsServer();
/// The next waiting connection; -1 when there is none.
[[nodiscard]] UniqueFd acceptFrom(const UniqueFd& listener);

}  // namespace cabinaudio::replay
