// SPDX-License-Identifier: Apache-2.0
#include "tests/shm/Witness.h"

#include "tests/shm/NextDefinition.h"

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

using cabinaudio::test::next;
using cabinaudio::test::Shown;

constinit thread_local std::function<void(const Shown&)>* tLook = nullptr;

void show(const Shown& shown) {
    if (tLook != nullptr) (*tLook)(shown);
}

using Ioctl = int(int, unsigned long, ...);

void showRequest(unsigned long request, const void* argument) {
    constexpr unsigned long CLEAN = 0x40084303;
    constexpr unsigned long INVALIDATE = 0x40084304;
    if (request != CLEAN && request != INVALIDATE) return;
    std::uint32_t range[2];
    std::memcpy(range, argument, sizeof range);
    show({false, request, range[0], range[1]});
}

int showAndPass(Ioctl& behind, int fd, unsigned long request, void* argument) {
    showRequest(request, argument);
    return behind(fd, request, argument);
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

int ioctl(int fd, unsigned long request, ...) noexcept {
    static constinit std::atomic<Ioctl*> found{nullptr};
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return showAndPass(*next(found, "ioctl", "__interceptor_ioctl"), fd, request, argument);
}

// What a 32-bit library built with 64-bit times calls instead.
int __ioctl_time64(int fd, unsigned long request, ...) noexcept;
int __ioctl_time64(int fd, unsigned long request, ...) noexcept {
    static constinit std::atomic<Ioctl*> found{nullptr};
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return showAndPass(*next(found, "__ioctl_time64", "__interceptor_ioctl"), fd, request,
                       argument);
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
    va_list arguments;
    va_start(arguments, number);
    const auto call = cabinaudio::test::systemCall(number, arguments);
    va_end(arguments);
    if (number == SYS_futex && call.argument[1] == FUTEX_WAKE) show({true, 0, 0, 0});
    return call.pass();
}

#endif
}
