// SPDX-License-Identifier: Apache-2.0
#include "tests/link/Platform.h"

#include "tests/interpose/Threads.h"

#include <dlfcn.h>

#include <cerrno>

namespace cabinaudio::test::platform {

constinit Slot<int(int, int, int)> socketSlot;
constinit Slot<int(int, const sockaddr*, socklen_t)> connectSlot;
constinit Slot<ssize_t(int, const void*, std::size_t, int)> sendSlot;
constinit Slot<ssize_t(int, void*, std::size_t, int)> recvSlot;
constinit Slot<int(int, int, int, const void*, socklen_t)> setsockoptSlot;
constinit Slot<int(int, int)> shutdownSlot;
constinit Slot<int(int)> closeSlot;
constinit Slot<int(int, fd_set*, fd_set*, fd_set*, timeval*)> selectSlot;
constinit Slot<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)> pthreadCreateSlot;

namespace {

/// A sanitizer's own definition where there is one, else that of the next library.
template <typename Function>
Function* next(Function* interceptor, const char* name) {
    if (interceptor != nullptr) return interceptor;
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// The test's function if there is one, else the real one; errno stays as that one left it.
template <typename Signature, typename Real, typename... Arguments>
auto enter(Slot<Signature>& slot, Real real, Arguments... arguments) {
    int error = errno;
    auto function = slot.get();
    errno = error;
    const auto result = function != nullptr ? (*function)(arguments...) : real(arguments...);
    error = errno;
    function.reset();
    errno = error;
    return result;
}

}  // namespace

int failWith(int error) {
    errno = error;
    return -1;
}

bool isLibraryThread(const pthread_attr_t* attributes) {
    int inherit = PTHREAD_INHERIT_SCHED;
    if (attributes != nullptr) pthread_attr_getinheritsched(attributes, &inherit);
    return inherit == PTHREAD_EXPLICIT_SCHED;
}

}  // namespace cabinaudio::test::platform

using namespace cabinaudio::test;  // NOLINT: the platform's functions are global

extern "C" {

[[gnu::weak]] decltype(::socket) __interceptor_socket;
[[gnu::weak]] decltype(::connect) __interceptor_connect;
[[gnu::weak]] decltype(::send) __interceptor_send;
[[gnu::weak]] decltype(::recv) __interceptor_recv;
[[gnu::weak]] decltype(::setsockopt) __interceptor_setsockopt;
[[gnu::weak]] decltype(::shutdown) __interceptor_shutdown;
[[gnu::weak]] int __interceptor_close(int descriptor);
[[gnu::weak]] decltype(::select) __interceptor_select;
}

namespace cabinaudio::test::platform::real {

int socket(int domain, int type, int protocol) {
    static const auto function = next(&__interceptor_socket, "socket");
    return function(domain, type, protocol);
}

int connect(int descriptor, const sockaddr* address, socklen_t length) {
    static const auto function = next(&__interceptor_connect, "connect");
    return function(descriptor, address, length);
}

ssize_t send(int descriptor, const void* data, std::size_t length, int flags) {
    static const auto function = next(&__interceptor_send, "send");
    return function(descriptor, data, length, flags);
}

ssize_t recv(int descriptor, void* data, std::size_t length, int flags) {
    static const auto function = next(&__interceptor_recv, "recv");
    return function(descriptor, data, length, flags);
}

int setsockopt(int descriptor, int level, int name, const void* value, socklen_t length) {
    static const auto function = next(&__interceptor_setsockopt, "setsockopt");
    return function(descriptor, level, name, value, length);
}

int shutdown(int descriptor, int how) {
    static const auto function = next(&__interceptor_shutdown, "shutdown");
    return function(descriptor, how);
}

int close(int descriptor) {
    static const auto function = next(&__interceptor_close, "close");
    return function(descriptor);
}

int select(int count, fd_set* read, fd_set* write, fd_set* except, timeval* timeout) {
    static const auto function = next(&__interceptor_select, "select");
    return function(count, read, write, except, timeout);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                   void* argument) {
    return platform::pthread_create.real(thread, attributes, entry, argument);
}

}  // namespace cabinaudio::test::platform::real

namespace cabinaudio::test::platform {
namespace {

int createThread(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                 void* argument) {
    return enter(pthreadCreateSlot, real::pthread_create, thread, attributes, entry, argument);
}

const Hooked CREATE_THREAD(pthread_create, createThread);

}  // namespace
}  // namespace cabinaudio::test::platform

extern "C" {

int socket(int domain, int type, int protocol) noexcept {
    return platform::enter(platform::socketSlot, platform::real::socket, domain, type, protocol);
}

int connect(int descriptor, const sockaddr* address, socklen_t length) {
    return platform::enter(platform::connectSlot, platform::real::connect, descriptor, address,
                           length);
}

ssize_t send(int descriptor, const void* data, std::size_t length, int flags) {
    return platform::enter(platform::sendSlot, platform::real::send, descriptor, data, length,
                           flags);
}

ssize_t recv(int descriptor, void* data, std::size_t length, int flags) {
    return platform::enter(platform::recvSlot, platform::real::recv, descriptor, data, length,
                           flags);
}

int setsockopt(int descriptor, int level, int name, const void* value, socklen_t length) noexcept {
    return platform::enter(platform::setsockoptSlot, platform::real::setsockopt, descriptor, level,
                           name, value, length);
}

int shutdown(int descriptor, int how) noexcept {
    return platform::enter(platform::shutdownSlot, platform::real::shutdown, descriptor, how);
}

int close(int descriptor) {
    return platform::enter(platform::closeSlot, platform::real::close, descriptor);
}

int select(int count, fd_set* read, fd_set* write, fd_set* except, timeval* timeout) {
    return platform::enter(platform::selectSlot, platform::real::select, count, read, write, except,
                           timeout);
}
}
