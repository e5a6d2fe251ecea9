// SPDX-License-Identifier: Apache-2.0
#include "tests/shm/Witness.h"

#include <dlfcn.h>
#include <linux/futex.h>
#include <semaphore.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstring>
#include <utility>

namespace {

using cabinaudio::test::Shown;

constinit thread_local std::function<void(const Shown&)>* tLook = nullptr;

// The sanitizers' own start-up comes through here, so nothing below may need it.

/// The definition behind ours. A sanitizer's stands in the program, too, under another name.
template <typename Function>
Function* next(std::atomic<Function*>& found, const char* name, const char* sanitizers) {
    Function* function = found.load(std::memory_order_acquire);
    if (function == nullptr) {
        void* at = dlsym(RTLD_DEFAULT, sanitizers);
        if (at == nullptr) at = dlsym(RTLD_NEXT, name);
        function = reinterpret_cast<Function*>(at);
        found.store(function, std::memory_order_release);
    }
    return function;
}

void show(const Shown& shown) {
    if (tLook != nullptr) (*tLook)(shown);
}

void showRequest(unsigned long request, const void* argument) {
    constexpr unsigned long CLEAN = 0x40084303;
    constexpr unsigned long INVALIDATE = 0x40084304;
    if (request != CLEAN && request != INVALIDATE) return;
    std::uint32_t range[2];
    std::memcpy(range, argument, sizeof range);
    show({false, request, range[0], range[1]});
}

}  // namespace

namespace cabinaudio::test {

Witness::Witness(std::function<void(const Shown&)> look) : mLook(std::move(look)) {
    tLook = &mLook;
}

Witness::~Witness() {
    tLook = nullptr;
}

}  // namespace cabinaudio::test

extern "C" {

using Ioctl = int(int, unsigned long, ...);

int ioctl(int fd, unsigned long request, ...) noexcept {
    static constinit std::atomic<Ioctl*> found{nullptr};
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    showRequest(request, argument);
    return next(found, "ioctl", "__interceptor_ioctl")(fd, request, argument);
}

// What a 32-bit library built with 64-bit times calls instead.
int __ioctl_time64(int fd, unsigned long request, ...) noexcept;
int __ioctl_time64(int fd, unsigned long request, ...) noexcept {
    static constinit std::atomic<Ioctl*> found{nullptr};
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    showRequest(request, argument);
    return next(found, "__ioctl_time64", "__interceptor_ioctl")(fd, request, argument);
}

#if __WORDSIZE == 32

int sem_post(sem_t* semaphore) noexcept {
    using Function = int(sem_t*);
    static constinit std::atomic<Function*> found{nullptr};
    show({true, 0, 0, 0});
    return next(found, "sem_post", "__interceptor_sem_post")(semaphore);
}

#else

long syscall(long number, ...) noexcept {
    using Function = long(long, ...);
    static constinit std::atomic<Function*> found{nullptr};
    long argument[6];
    va_list arguments;
    va_start(arguments, number);
    for (long& one : argument)
        one = va_arg(arguments, long);
    va_end(arguments);
    if (number == SYS_futex && argument[1] == FUTEX_WAKE) show({true, 0, 0, 0});
    return next(found, "syscall", "__interceptor_syscall")(
        number, argument[0], argument[1], argument[2], argument[3], argument[4], argument[5]);
}

#endif
}
