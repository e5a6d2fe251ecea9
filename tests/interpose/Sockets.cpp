// SPDX-License-Identifier: Apache-2.0
#include "tests/interpose/Sockets.h"

#include "tests/support/TimeWidth.h"

#include <unistd.h>

namespace cabinaudio::test::platform {

constinit decltype(socket) socket{"socket"};
constinit decltype(connect) connect{"connect"};
constinit decltype(send) send{"send"};
constinit decltype(recv) recv{"recv"};
constinit decltype(setsockopt) setsockopt{"setsockopt",
                                          symbolByTime("setsockopt", "__setsockopt64")};
constinit decltype(shutdown) shutdown{"shutdown"};
constinit decltype(close) close{"close"};
constinit decltype(select) select{"select", symbolByTime("select", "__select64")};

}  // namespace cabinaudio::test::platform

namespace platform = cabinaudio::test::platform;

extern "C" {

int socket(int domain, int type, int protocol) noexcept {
    return platform::socket(domain, type, protocol);
}
int connect(int fd, const sockaddr* address, socklen_t length) {
    return platform::connect(fd, address, length);
}
ssize_t send(int fd, const void* data, std::size_t length, int flags) {
    return platform::send(fd, data, length, flags);
}
ssize_t recv(int fd, void* data, std::size_t length, int flags) {
    return platform::recv(fd, data, length, flags);
}
int setsockopt(int fd, int level, int name, const void* value, socklen_t length) noexcept {
    return platform::setsockopt(fd, level, name, value, length);
}
int shutdown(int fd, int how) noexcept {
    return platform::shutdown(fd, how);
}
int close(int fd) {
    return platform::close(fd);
}
int select(int count, fd_set* read, fd_set* write, fd_set* except, timeval* timeout) {
    return platform::select(count, read, write, except, timeout);
}
}
