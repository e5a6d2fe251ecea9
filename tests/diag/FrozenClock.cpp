// SPDX-License-Identifier: Apache-2.0
#include "tests/diag/FrozenClock.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <ctime>

namespace {

constinit thread_local bool tFrozen = false;
constinit thread_local std::uint64_t tMicroseconds = 0;

}  // namespace

namespace cabinaudio::test {

FrozenClock::FrozenClock(std::uint64_t microseconds) {
    tMicroseconds = microseconds;
    tFrozen = true;
}

FrozenClock::~FrozenClock() {
    tFrozen = false;
}

}  // namespace cabinaudio::test

#ifdef SYS_clock_gettime64
constexpr long kClockGettime = sizeof(time_t) > sizeof(long) ? SYS_clock_gettime64
                                                             : SYS_clock_gettime;
#else
constexpr long kClockGettime = SYS_clock_gettime;
#endif

// In the program, so that it comes before the C library's.
extern "C" int clock_gettime(clockid_t clock, struct timespec* time) noexcept {
    if (!tFrozen) return static_cast<int>(syscall(kClockGettime, clock, time));
    time->tv_sec = static_cast<time_t>(tMicroseconds / 1000000);
    time->tv_nsec = static_cast<long>(tMicroseconds % 1000000) * 1000;
    return 0;
}
