// SPDX-License-Identifier: Apache-2.0
// The server's two sockets: the instance's name is appended to their names.
#include "devkit/board/Board.h"
#include "devkit/board/Export.h"
#include "devkit/board/Instance.h"
#include "devkit/board/Libc.h"
#include "devkit/board/Names.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>

namespace cabinaudio::board {
namespace {

constexpr std::size_t NAME_OFFSET = offsetof(sockaddr_un, sun_path) + 1;

/// Abstract names have a length and no terminator.
template <std::size_t SIZE>
bool names(const sockaddr* address, socklen_t length, const char (&name)[SIZE]) noexcept {
    if (address == nullptr || length != NAME_OFFSET + SIZE - 1 || address->sa_family != AF_UNIX)
        return false;
    const char* path = reinterpret_cast<const sockaddr_un*>(address)->sun_path;
    return path[0] == '\0' && memcmp(path + 1, name, SIZE - 1) == 0;
}

int useAddress(libc::UseAddress* next, int descriptor, const sockaddr* address,
               socklen_t length) noexcept {
    if (!names(address, length, SERVER_SOCKET) && !names(address, length, CONTROL_SOCKET))
        return next(descriptor, address, length);
    const char* instance = instanceOrRefuse();
    if (instance == nullptr) return -1;
    if (instance[0] == '\0') return next(descriptor, address, length);
    Text<sizeof(sockaddr_un::sun_path) - 2> name;
    const auto* given = reinterpret_cast<const sockaddr_un*>(address);
    name.append(given->sun_path + 1, length - NAME_OFFSET).append(".").append(instance);
    sockaddr_un mapped = {};
    mapped.sun_family = AF_UNIX;
    memcpy(mapped.sun_path + 1, name.c_str(), name.length());
    return next(descriptor, reinterpret_cast<const sockaddr*>(&mapped),
                static_cast<socklen_t>(NAME_OFFSET + name.length()));
}

static_assert(sizeof CONTROL_SOCKET + 1 + INSTANCE_LENGTH < sizeof(sockaddr_un::sun_path) - 2);

}  // namespace
}  // namespace cabinaudio::board

using namespace cabinaudio::board;

extern "C" {

BOARD_EXPORT int connect(int descriptor, const sockaddr* address, socklen_t length) {
    return useAddress(libc::connect.find(), descriptor, address, length);
}

BOARD_EXPORT int bind(int descriptor, const sockaddr* address, socklen_t length) noexcept {
    return useAddress(libc::bind.find(), descriptor, address, length);
}
}
