// SPDX-License-Identifier: Apache-2.0
#include "tools/ServerSocket.h"

#include "tools/BoardLaunch.h"
#include "wire/Frame.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace cabinaudio::tool {

namespace {

constexpr std::size_t NAME_LENGTH = sizeof wire::SERVER_SOCKET - 1;

}  // namespace

bool serverListens() {
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    // Abstract: the first byte is zero and the name is not terminated.
    std::memcpy(address.sun_path + 1, wire::SERVER_SOCKET, NAME_LENGTH);
    constexpr auto LENGTH =
        static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) + 1 + NAME_LENGTH);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) return false;
    // EAGAIN: a socket listens, but its backlog is full.
    const bool listens =
        connect(descriptor, reinterpret_cast<const struct sockaddr*>(&address), LENGTH) == 0 ||
        errno == EAGAIN;
    close(descriptor);
    return listens;
}

std::string noServerText() {
    const std::string instance = boardInstance();
    if (instance.empty())
        return "no server is running; start one, for example: cabinaudio-server &";
    return "no server of instance '" + instance +
           "' is running; start one, for example: cabinaudio-server --instance " + instance + " &";
}

}  // namespace cabinaudio::tool
