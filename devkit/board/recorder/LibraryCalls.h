// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/Libc.h"

#include <sys/socket.h>
#include <sys/types.h>

#include <cstddef>

/// The C library's functions that the recorder stands in front of. The stand-in for the board may
/// be in between.
namespace cabinaudio::recorder::libc {

using board::Next;

using Connect = int(int, const sockaddr*, socklen_t);
using Send = ssize_t(int, const void*, std::size_t, int);
using SendTo = ssize_t(int, const void*, std::size_t, int, const sockaddr*, socklen_t);
using SendMessage = ssize_t(int, const msghdr*, int);
using Receive = ssize_t(int, void*, std::size_t, int);
using ReceiveFrom = ssize_t(int, void*, std::size_t, int, sockaddr*, socklen_t*);
using ReceiveMessage = ssize_t(int, msghdr*, int);
using CheckedReceive = ssize_t(int, void*, std::size_t, std::size_t, int);
using CheckedReceiveFrom = ssize_t(int, void*, std::size_t, std::size_t, int, sockaddr*,
                                   socklen_t*);
using Close = int(int);
using Duplicate = int(int, int);
using DuplicateWithFlags = int(int, int, int);
using Map = void*(void*, std::size_t, int, int, int, off_t);
using Map64 = void*(void*, std::size_t, int, int, int, off64_t);
using Unmap = int(void*, std::size_t);
using ShmOpen = int(const char*, int, mode_t);
using Ioctl = int(int, unsigned long, ...);
using SystemCall = long(long, ...);
using SemaphoreCall = int(void*);

extern constinit Next<Connect> connect;
extern constinit Next<Send> send;
extern constinit Next<SendTo> sendto;
extern constinit Next<SendMessage> sendmsg;
extern constinit Next<Receive> recv;
extern constinit Next<ReceiveFrom> recvfrom;
extern constinit Next<ReceiveMessage> recvmsg;
extern constinit Next<CheckedReceive> checkedRecv;
extern constinit Next<CheckedReceiveFrom> checkedRecvfrom;
extern constinit Next<Close> close;
extern constinit Next<Duplicate> dup2;
extern constinit Next<DuplicateWithFlags> dup3;
extern constinit Next<Map> mmap;
extern constinit Next<Map64> mmap64;
extern constinit Next<Unmap> munmap;
extern constinit Next<ShmOpen> shmOpen;
extern constinit Next<Ioctl> ioctl;
extern constinit Next<Ioctl> ioctlTime64;
extern constinit Next<SystemCall> systemCall;
extern constinit Next<SemaphoreCall> semaphorePost;
extern constinit Next<SemaphoreCall> semaphoreWait;

/// Looks up every function of this header.
void findAll() noexcept;

}  // namespace cabinaudio::recorder::libc
