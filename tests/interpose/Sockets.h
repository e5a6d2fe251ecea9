// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/interpose/Interposed.h"

#include <sys/select.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <cstddef>

/// Sockets. ScriptedServer calls none of send, recv and shutdown, so a hook of those is for the
/// library alone.
namespace cabinaudio::test::platform {

extern Interposed<int(int domain, int type, int protocol)> socket;
extern Interposed<int(int fd, const sockaddr*, socklen_t)> connect;
extern Interposed<ssize_t(int fd, const void* data, std::size_t length, int flags)> send;
extern Interposed<ssize_t(int fd, void* data, std::size_t length, int flags)> recv;
extern Interposed<int(int fd, int level, int name, const void* value, socklen_t)> setsockopt;
extern Interposed<int(int fd, int how)> shutdown;
extern Interposed<int(int fd)> close;
extern Interposed<int(int count, fd_set* read, fd_set* write, fd_set* except, timeval*)> select;

}  // namespace cabinaudio::test::platform
