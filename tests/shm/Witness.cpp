// SPDX-License-Identifier: Apache-2.0
#include "tests/shm/Witness.h"

#include "tests/interpose/Files.h"
#include "tests/interpose/Waits.h"

#include <linux/futex.h>
#include <sys/syscall.h>

#include <cstring>
#include <utility>

namespace cabinaudio::test {
namespace {

constinit thread_local std::function<void(const Shown&)>* tLook = nullptr;

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

int showAndPass(int fd, unsigned long request, void* argument) {
    showRequest(request, argument);
    return platform::ioctl.real(fd, request, argument);
}

#if __WORDSIZE == 32

int showPost(sem_t* semaphore) {
    show({true, 0, 0, 0});
    return platform::sem_post.real(semaphore);
}
const Hooked POST(platform::sem_post, showPost);

#else

long showWake(long number, long a, long b, long c, long d, long e, long f) {
    if (number == SYS_futex && b == FUTEX_WAKE) show({true, 0, 0, 0});
    return platform::syscall.real(number, a, b, c, d, e, f);
}
const Hooked WAKE(platform::syscall, showWake);

#endif

const Hooked REQUEST(platform::ioctl, showAndPass);

}  // namespace

Witness::Witness(std::function<void(const Shown&)> look) : mLook(std::move(look)) {
    tLook = &mLook;
}

Witness::~Witness() {
    tLook = nullptr;
}

}  // namespace cabinaudio::test
