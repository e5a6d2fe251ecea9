// SPDX-License-Identifier: Apache-2.0
#include "tools/server/Subscription.h"

#include "devkit/board/Board.h"
#include "tools/Duration.h"
#include "tools/Failure.h"
#include "tools/ServerSocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <thread>

namespace cabinaudio::tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr char COMMAND[] = "subscribe settings\n";

/// @return -1 when the server has no control socket, or none is free
int connectToControl() {
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    // Abstract: the first byte is zero and the name is not terminated.
    std::memcpy(address.sun_path + 1, board::CONTROL_SOCKET, sizeof board::CONTROL_SOCKET - 1);
    constexpr auto LENGTH = static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) +
                                                   sizeof board::CONTROL_SOCKET);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) return -1;
    if (connect(descriptor, reinterpret_cast<const struct sockaddr*>(&address), LENGTH) == 0)
        return descriptor;
    close(descriptor);
    return -1;
}

/// A dying process closes its sockets one by one, so it may listen a little longer.
[[noreturn]] void throwEnd() {
    constexpr std::chrono::milliseconds LISTEN_PAUSE{2};
    constexpr std::chrono::milliseconds BOUND{500};
    const Clock::time_point deadline = Clock::now() + BOUND;
    while (serverListens() && Clock::now() < deadline)
        std::this_thread::sleep_for(LISTEN_PAUSE);
    if (serverListens()) throw Failure("the server has closed the connection");
    throw Failure("the server went away", ExitCode::NoServer);
}

}  // namespace

std::unique_ptr<Subscription> Subscription::open(const Event& interruption,
                                                 std::chrono::milliseconds bound) {
    const int socket = connectToControl();
    if (socket < 0) return nullptr;
    std::unique_ptr<Subscription> subscription(new Subscription(socket, interruption));
    // It fits any socket's buffer. A server that refuses has sent its reason and closed.
    (void)!::send(socket, COMMAND, sizeof COMMAND - 1, MSG_NOSIGNAL);
    const Clock::time_point deadline = Clock::now() + bound;
    for (;;) {
        if (const auto line = subscription->takeLine()) {
            if (line->front() != '{') return nullptr;  // "error: no such command"
            subscription->apply(*line);
            return subscription;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            throw Failure(
                "timed out after " + secondsText(bound) + " waiting for the server's settings",
                ExitCode::TimedOut);
        if (!subscription->receive(left) && interruption.isSet()) throw Failure("interrupted");
    }
}

Subscription::~Subscription() {
    close(mSocket);
}

std::optional<Subscription::Change> Subscription::next(std::chrono::milliseconds bound) {
    const Clock::time_point deadline = Clock::now() + bound;
    for (;;) {
        if (const auto line = takeLine()) return apply(*line);
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() < 0 || !receive(left)) return std::nullopt;
    }
}

std::optional<std::string> Subscription::takeLine() {
    const std::size_t end = mReceived.find('\n');
    if (end == std::string::npos) return std::nullopt;
    std::string line = mReceived.substr(0, end);
    mReceived.erase(0, end + 1);
    return line;
}

/// @return false when the time is over, or at an interruption
bool Subscription::receive(std::chrono::milliseconds bound) {
    std::array<struct pollfd, 2> entries = {
        {{mSocket, POLLIN, 0}, {mInterruption.descriptor(), POLLIN, 0}}};
    if (poll(entries.data(), entries.size(), static_cast<int>(bound.count())) <= 0) return false;
    if (entries[1].revents != 0) return false;
    std::array<char, 65536> part;
    const ssize_t got = recv(mSocket, part.data(), part.size(), 0);
    if (got > 0) mReceived.append(part.data(), static_cast<std::size_t>(got));
    if (got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR))) return true;
    throwEnd();
}

Subscription::Change Subscription::apply(const std::string& line) {
    try {
        const Json message = Json::parse(line);
        if (message.contains("error"))
            throw Failure("the server says: " + message["error"].get<std::string>());
        const bool isFirst = message.contains("document");
        mDocument = isFirst ? message["document"] : mDocument.patch(message.at("patch"));
        return {message.at("time").get<std::string>(), isFirst};
    } catch (const Json::exception& error) {
        throw Failure(std::string("the server's notification is not understood: ") + error.what());
    }
}

}  // namespace cabinaudio::tool
