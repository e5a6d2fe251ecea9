// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/ServerOwner.h"

#include "devkit/board/Board.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace cabinaudio::board {
namespace {

// Environment: the user that was warned about. The launcher and the program that it starts are one
// program to the user, who wants one warning.
constexpr char WARNED_VARIABLE[] = "CABINAUDIO_WARNED_OF_USER";

/// The owner of the listening socket; available before the server accepts, and when it refuses.
std::optional<ServerProcess> ownerOf(int connection) {
    ucred credentials = {};
    socklen_t size = sizeof credentials;
    if (getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return {};
    return ServerProcess{credentials.uid, credentials.pid};
}

/// -1 when no socket listens under the name.
int connectTo(const std::string& name) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (name.size() >= sizeof address.sun_path) return -1;
    std::memcpy(address.sun_path + 1, name.data(), name.size());  // abstract
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) return -1;
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), length) == 0)
        return descriptor;
    close(descriptor);
    return -1;
}

/// A connection to the server, -1 without one. Without a control socket it is not the development
/// server, or another user has taken only the clients' name.
int connectToServer(const std::string& instance, CheckedSockets sockets) {
    const std::string suffix = instance.empty() ? "" : "." + instance;
    const int control = connectTo(CONTROL_SOCKET + suffix);
    if (control >= 0 || sockets == CheckedSockets::ControlOnly) return control;
    return connectTo(SERVER_SOCKET + suffix);
}

}  // namespace

std::string warningOfForeignServer(const std::string& instance, CheckedSockets sockets) {
    const int connection = connectToServer(instance, sockets);
    if (connection < 0) return {};
    std::string warning = warningOfForeignServer(connection);
    close(connection);
    return warning;
}

std::optional<ServerProcess> processOfServer(const std::string& instance, CheckedSockets sockets) {
    const int connection = connectToServer(instance, sockets);
    if (connection < 0) return {};
    const std::optional<ServerProcess> owner = ownerOf(connection);
    close(connection);
    return owner;
}

std::string warningOfForeignServer(int connection) {
    const std::optional<ServerProcess> owner = ownerOf(connection);
    if (!owner || owner->user == 0 || owner->user == geteuid()) return {};
    const std::string user = std::to_string(owner->user);
    const char* const warned = std::getenv(WARNED_VARIABLE);
    if (warned != nullptr && user == warned) return {};
    setenv(WARNED_VARIABLE, user.c_str(), 1);
    return "warning: the server belongs to user " + user +
           ", who can hear and change what is played and recorded";
}

}  // namespace cabinaudio::board
