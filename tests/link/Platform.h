// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

/// The platform functions that the server link calls, each with a slot for a function of the test
/// that is called in its place. The test programs define these functions themselves, so that the
/// loader binds the library's calls to them. The test's function calls real::x() to go on.
///
/// ScriptedServer uses none of send, recv and shutdown's relatives here, so what a test puts in
/// place troubles the library alone.
namespace cabinaudio::test::platform {

template <typename Signature>
class Slot {
public:
    using Function = std::function<Signature>;

    void set(Function function) {
        const std::lock_guard lock(mLock);
        mFunction = function ? std::make_shared<Function>(std::move(function)) : nullptr;
    }
    /// The function stays alive while a caller is inside, whatever set() does meanwhile.
    [[nodiscard]] std::shared_ptr<Function> get() {
        const std::lock_guard lock(mLock);
        return mFunction;
    }

private:
    std::mutex mLock;
    std::shared_ptr<Function> mFunction;
};

extern Slot<int(int, int, int)> socketSlot;
extern Slot<int(int, const sockaddr*, socklen_t)> connectSlot;
extern Slot<ssize_t(int, const void*, std::size_t, int)> sendSlot;
extern Slot<ssize_t(int, void*, std::size_t, int)> recvSlot;
extern Slot<int(int, int, int, const void*, socklen_t)> setsockoptSlot;
extern Slot<int(int, int)> shutdownSlot;
extern Slot<int(int)> closeSlot;
extern Slot<int(int, fd_set*, fd_set*, fd_set*, timeval*)> selectSlot;
extern Slot<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)> pthreadCreateSlot;

namespace real {

int socket(int domain, int type, int protocol);
int connect(int descriptor, const sockaddr* address, socklen_t length);
ssize_t send(int descriptor, const void* data, std::size_t length, int flags);
ssize_t recv(int descriptor, void* data, std::size_t length, int flags);
int setsockopt(int descriptor, int level, int name, const void* value, socklen_t length);
int shutdown(int descriptor, int how);
int close(int descriptor);
int select(int count, fd_set* read, fd_set* write, fd_set* except, timeval* timeout);
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                   void* argument);

}  // namespace real

/// Puts a function in a slot for as long as it lives.
class Replace {
public:
    template <typename Signature, typename Function>
    Replace(Slot<Signature>& slot, Function function) : mRestore([&slot] { slot.set(nullptr); }) {
        slot.set(std::move(function));
    }
    ~Replace() { mRestore(); }
    Replace(const Replace&) = delete;
    Replace& operator=(const Replace&) = delete;

private:
    std::function<void()> mRestore;
};

/// Sets errno as a failing platform function does.
int failWith(int error);

/// Whether a thread with these attributes is one of the library's: those choose their scheduling.
bool isLibraryThread(const pthread_attr_t* attributes);

}  // namespace cabinaudio::test::platform
