// SPDX-License-Identifier: Apache-2.0
#include "tests/support/LocalSocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>

namespace cabinaudio::test {
namespace {

constexpr int LINE_PATIENCE_MS = 60000;

/// Gives a new socket and the name to bind(2) or connect(2).
server::UniqueFd socketWith(int (*name)(int, const sockaddr*, socklen_t), const std::string& text,
                            const char* what) {
    server::UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (text.size() >= sizeof address.sun_path) throw std::runtime_error("name too long");
    std::memcpy(address.sun_path + 1, text.data(), text.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + text.size());
    if (!fd || name(fd.get(), reinterpret_cast<const sockaddr*>(&address), length) != 0)
        throw std::runtime_error(what + text + ": " + std::strerror(errno));
    return fd;
}

}  // namespace

server::UniqueFd connectTo(const std::string& name) {
    return socketWith(::connect, name, "cannot connect to ");
}

server::UniqueFd listenAt(const std::string& name, int backlog) {
    server::UniqueFd fd = socketWith(::bind, name, "cannot listen at ");
    if (listen(fd.get(), backlog) != 0) throw std::runtime_error("listen");
    return fd;
}

bool isReadable(int fd, int timeoutMs) {
    pollfd entry = {fd, POLLIN, 0};
    int result = 0;
    do {
        result = poll(&entry, 1, timeoutMs);
    } while (result < 0 && errno == EINTR);
    return result > 0;
}

void ControlClient::say(const std::string& text) const {
    (void)!::send(mFd.get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

std::string ControlClient::line() const {
    std::string line;
    char letter = 0;
    while (isReadable(mFd.get(), LINE_PATIENCE_MS) && recv(mFd.get(), &letter, 1, 0) == 1) {
        if (letter == '\n') return line;
        line += letter;
    }
    return line + "(closed)";
}

std::string ControlClient::ask(const std::string& text) const {
    say(text + "\n");
    return line();
}

}  // namespace cabinaudio::test
