// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/Socket.h"

#include "devkit/replay/Error.h"
#include "wire/Frame.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>

namespace cabinaudio::replay {

namespace {

struct Address {
    sockaddr_un socket{};
    socklen_t length = 0;

    [[nodiscard]] const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&socket); }
};

/// Abstract names have a length and no terminator.
Address serverAddress() {
    constexpr std::size_t LENGTH = sizeof wire::SERVER_SOCKET - 1;
    Address address;
    address.socket.sun_family = AF_UNIX;
    std::memcpy(address.socket.sun_path + 1, wire::SERVER_SOCKET, LENGTH);
    address.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + LENGTH);
    return address;
}

UniqueFd newSocket(int flags) {
    UniqueFd made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
    if (!made)
        throw Error(Error::Cause::System,
                    std::string("cannot make a socket: ") + std::strerror(errno));
    return made;
}

timeval asTimeval(std::chrono::milliseconds time) {
    timeval value{};
    value.tv_sec = static_cast<time_t>(time.count() / 1000);
    value.tv_usec = static_cast<suseconds_t>(time.count() % 1000 * 1000);
    return value;
}

}  // namespace

bool Socket::send(std::span<const std::uint8_t> bytes, std::chrono::milliseconds bound) {
    if (!isOpen()) return false;
    const timeval limit = asTimeval(bound);
    (void)setsockopt(mFd.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    while (!bytes.empty()) {
        const ssize_t count = ::send(mFd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

Socket::State Socket::receive() {
    if (!isOpen()) return State::Closed;
    while (true) {
        std::array<std::uint8_t, 16384> piece;
        const ssize_t count = recv(mFd.get(), piece.data(), piece.size(), MSG_DONTWAIT);
        if (count > 0) {
            mReceived.insert(mReceived.end(), piece.begin(), piece.begin() + count);
        } else if (count == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
            return State::Closed;
        } else if (errno != EINTR) {
            return State::Open;
        }
    }
}

Bytes Socket::take(std::size_t size) {
    const auto end =
        mReceived.begin() + static_cast<std::ptrdiff_t>(std::min(size, mReceived.size()));
    Bytes taken(mReceived.begin(), end);
    mReceived.erase(mReceived.begin(), end);
    return taken;
}

Socket connectToServer() {
    UniqueFd made = newSocket(0);
    const Address address = serverAddress();
    // A full backlog makes connect() wait, as it does for applications.
    if (connect(made.get(), address.get(), address.length) != 0)
        throw Error(Error::Cause::NoServer,
                    std::string("no server listens: ") + std::strerror(errno));
    return Socket(std::move(made));
}

UniqueFd listenAsServer() {
    UniqueFd made = newSocket(SOCK_NONBLOCK);
    const Address address = serverAddress();
    if (bind(made.get(), address.get(), address.length) != 0) {
        if (errno == EADDRINUSE) throw Error(Error::Cause::Busy, "a server is running");
        throw Error(Error::Cause::System,
                    std::string("cannot listen as the server: ") + std::strerror(errno));
    }
    if (listen(made.get(), SOMAXCONN) != 0)
        throw Error(Error::Cause::System,
                    std::string("cannot listen as the server: ") + std::strerror(errno));
    return made;
}

UniqueFd acceptFrom(const UniqueFd& listener) {
    return UniqueFd(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
}

}  // namespace cabinaudio::replay
