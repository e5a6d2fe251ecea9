// SPDX-License-Identifier: Apache-2.0
#include "python/src/Failure.h"
#include "wire/Frame.h"

#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace cabinaudio::python {

namespace {

constexpr char STAND_IN[] = "libcabinaudio-board.so";

/// What follows the server's name in the name of its socket. The stand-in adds it in the library's
/// calls; a stand-in that precedes the C library for the whole process adds it here, too.
std::string socketSuffix() {
    using Instance = const char*();
    if (dlsym(RTLD_DEFAULT, "cabinaudio_board_active") != nullptr) return "";
    void* const standIn = dlopen(STAND_IN, RTLD_LAZY | RTLD_NOLOAD);
    if (standIn == nullptr) return "";
    auto* const ask = reinterpret_cast<Instance*>(dlsym(standIn, "cabinaudio_board_instance"));
    dlclose(standIn);
    const char* const instance = ask != nullptr ? ask() : nullptr;
    return instance == nullptr || *instance == '\0' ? "" : "." + std::string(instance);
}

}  // namespace

bool serverListens() {
    const std::string name = wire::SERVER_SOCKET + socketSuffix();
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    // Abstract: the first byte is zero.
    if (name.size() >= sizeof address.sun_path) return false;
    std::memcpy(address.sun_path + 1, name.data(), name.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) return false;
    const bool listens =
        connect(descriptor, reinterpret_cast<const sockaddr*>(&address), length) == 0 ||
        errno == EAGAIN;  // its backlog is full
    close(descriptor);
    return listens;
}

}  // namespace cabinaudio::python
