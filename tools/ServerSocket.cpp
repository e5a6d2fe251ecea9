// SPDX-License-Identifier: Apache-2.0
#include "tools/ServerSocket.h"

#include "tools/BoardLaunch.h"
#include "tools/LibraryLog.h"
#include "wire/Frame.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

namespace cabinaudio::tool {

namespace {

constexpr std::size_t NAME_LENGTH = sizeof wire::SERVER_SOCKET - 1;

/// @return 0 when a server listens, else the system's error
int connectionError() {
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    // Abstract: the first byte is zero and the name is not terminated.
    std::memcpy(address.sun_path + 1, wire::SERVER_SOCKET, NAME_LENGTH);
    constexpr auto LENGTH =
        static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) + 1 + NAME_LENGTH);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) return errno;
    const bool isConnected =
        connect(descriptor, reinterpret_cast<const struct sockaddr*>(&address), LENGTH) == 0;
    const int error = errno;
    close(descriptor);
    // EAGAIN: a socket listens, but its backlog is full.
    return isConnected || error == EAGAIN ? 0 : error;
}

/// As /proc/net/unix shows it; the stand-in appends the instance's name.
std::string shownName() {
    const std::string instance = boardInstance();
    return "@" + std::string(wire::SERVER_SOCKET, NAME_LENGTH) +
           (instance.empty() ? "" : "." + instance);
}

}  // namespace

bool serverListens() {
    const int error = connectionError();
    static std::atomic<bool> isLogged{false};
    if (error != 0 && !isLogged.exchange(true))
        logError("no server listens on the socket " + shownName() + ": " + std::strerror(error));
    return error == 0;
}

std::string noServerText() {
    const std::string instance = boardInstance();
    if (instance.empty())
        return "no server is running; start one, for example: cabinaudio-server &";
    return "no server of instance '" + instance +
           "' is running; start one, for example: cabinaudio-server --instance " + instance + " &";
}

}  // namespace cabinaudio::tool
