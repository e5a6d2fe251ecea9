// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/ServerWait.h"

#include "devkit/board/Board.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <thread>

namespace cabinaudio::board {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds PAUSE{20};

/// Does not block.
bool listens(const std::string& name) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (name.size() >= sizeof address.sun_path) return false;
    std::memcpy(address.sun_path + 1, name.data(), name.size());  // abstract
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) return false;
    // EAGAIN: a socket listens, but its backlog is full.
    const bool isHeard =
        connect(descriptor, reinterpret_cast<const sockaddr*>(&address), length) == 0 ||
        errno == EAGAIN;
    close(descriptor);
    return isHeard;
}

}  // namespace

bool waitForServer(const std::string& instance, AwaitedSocket awaited,
                   std::chrono::milliseconds bound) {
    const std::string name =
        std::string(awaited == AwaitedSocket::Control ? CONTROL_SOCKET : SERVER_SOCKET) +
        (instance.empty() ? "" : "." + instance);
    const Clock::time_point deadline = Clock::now() + bound;
    while (!listens(name)) {
        const Clock::time_point now = Clock::now();
        if (now >= deadline) return false;
        std::this_thread::sleep_for(std::min<Clock::duration>(PAUSE, deadline - now));
    }
    return true;
}

}  // namespace cabinaudio::board
