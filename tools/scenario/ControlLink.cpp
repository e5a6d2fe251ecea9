// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/ControlLink.h"

#include "devkit/board/Board.h"
#include "tools/Failure.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>

namespace cabinaudio::tool::scenario {

namespace {

using Clock = std::chrono::steady_clock;

int connected(const std::string& name) {
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    // Abstract: the first byte is zero and the name is not terminated.
    std::memcpy(address.sun_path + 1, name.data(),
                std::min(name.size(), sizeof address.sun_path - 1));
    const auto length =
        static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) + 1 + name.size());
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0) throw Failure(std::string("no socket: ") + std::strerror(errno));
    if (connect(descriptor, reinterpret_cast<const struct sockaddr*>(&address), length) == 0)
        return descriptor;
    const int error = errno;
    close(descriptor);
    throw Failure("cannot reach the server at @" + name + ": " + std::strerror(error),
                  ExitCode::NoServer);
}

}  // namespace

ControlLink::ControlLink(const std::string& instance)
    : mDescriptor(connected(std::string(board::CONTROL_SOCKET) + "." + instance)) {}

ControlLink::~ControlLink() {
    close(mDescriptor);
}

void ControlLink::send(const std::string& line) const {
    const std::string request = line + "\n";
    // A short line fits the socket's buffer.
    if (::send(mDescriptor, request.data(), request.size(), MSG_NOSIGNAL) < 0 && errno != EPIPE &&
        errno != ECONNRESET)
        throw Failure(std::string("cannot send a command: ") + std::strerror(errno));
}

std::optional<std::string> ControlLink::receive(std::chrono::milliseconds bound) {
    const Clock::time_point deadline = Clock::now() + bound;
    std::size_t end = 0;
    while ((end = mInput.find('\n')) == std::string::npos) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        struct pollfd entry = {mDescriptor, POLLIN, 0};
        const int wait = static_cast<int>(std::max<std::int64_t>(left.count(), 0));
        const int ready = poll(&entry, 1, wait);
        if (ready == 0) return std::nullopt;
        if (ready < 0) {
            // A signal; the caller looks at it.
            if (errno == EINTR) return std::nullopt;
            throw Failure(std::string("cannot wait for an answer: ") + std::strerror(errno));
        }
        std::array<char, 4096> part;
        const ssize_t got = recv(mDescriptor, part.data(), part.size(), 0);
        if (got <= 0) throw Failure("the server is gone", ExitCode::NoServer);
        mInput.append(part.data(), static_cast<std::size_t>(got));
    }
    std::string line = mInput.substr(0, end);
    mInput.erase(0, end + 1);
    return line;
}

}  // namespace cabinaudio::tool::scenario
