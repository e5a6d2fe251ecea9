// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dlfcn.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <atomic>
#include <cstdio>

namespace cabinaudio::board {

/// The next definition of a function after ours in the loader's order: the C library's, or that of
/// another preload or a shared sanitizer runtime.
///
/// Looked up in our constructor, because the look-up takes the loader's lock and is therefore
/// unsafe between fork and exec; otherwise at the first use, because constructors of other
/// libraries may run before ours.
template <typename Function>
class Next {
public:
    constexpr explicit Next(const char* name) noexcept : mName(name) {}

    /// nullptr when the function does not exist, as in an older C library.
    Function* find() noexcept {
        Function* function = mFunction.load(std::memory_order_relaxed);
        if (function == nullptr) {
            function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, mName));
            mFunction.store(function, std::memory_order_relaxed);
        }
        return function;
    }

private:
    const char* mName;
    std::atomic<Function*> mFunction{nullptr};
};

template <typename... Functions>
void findEach(Next<Functions>&... functions) noexcept {
    (static_cast<void>(functions.find()), ...);
}

namespace libc {

using Open = int(const char*, int, ...);
using OpenAt = int(int, const char*, int, ...);
using CheckedOpen = int(const char*, int);
using CheckedOpenAt = int(int, const char*, int);
using Fopen = FILE*(const char*, const char*);
using Mkdir = int(const char*, mode_t);
using Ioctl = int(int, unsigned long, ...);
using UseAddress = int(int, const sockaddr*, socklen_t);
using ShmOpen = int(const char*, int, mode_t);
using ShmUnlink = int(const char*);
using PthreadCreate = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

extern constinit Next<Open> open;
extern constinit Next<Open> open64;
extern constinit Next<OpenAt> openat;
extern constinit Next<OpenAt> openat64;
extern constinit Next<CheckedOpen> checkedOpen;
extern constinit Next<CheckedOpen> checkedOpen64;
extern constinit Next<CheckedOpenAt> checkedOpenat;
extern constinit Next<CheckedOpenAt> checkedOpenat64;
extern constinit Next<Fopen> fopen;
extern constinit Next<Fopen> fopen64;
extern constinit Next<Mkdir> mkdir;
extern constinit Next<Ioctl> ioctl;
extern constinit Next<Ioctl> ioctlTime64;
extern constinit Next<UseAddress> connect;
extern constinit Next<UseAddress> bind;
extern constinit Next<ShmOpen> shmOpen;
extern constinit Next<ShmUnlink> shmUnlink;
extern constinit Next<PthreadCreate> pthreadCreate;

}  // namespace libc

/// Looks up every function of `libc`.
void findAllOfLibc() noexcept;

}  // namespace cabinaudio::board
