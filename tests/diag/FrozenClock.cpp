// SPDX-License-Identifier: Apache-2.0
#include "tests/diag/FrozenClock.h"

#include "tests/interpose/Waits.h"

namespace cabinaudio::test {
namespace {

constinit thread_local bool tFrozen = false;
constinit thread_local std::uint64_t tMicroseconds = 0;

int readClock(clockid_t clock, struct timespec* time) {
    if (!tFrozen) return platform::clock_gettime.real(clock, time);
    time->tv_sec = static_cast<time_t>(tMicroseconds / 1000000);
    time->tv_nsec = static_cast<long>(tMicroseconds % 1000000) * 1000;
    return 0;
}

const Hooked CLOCK(platform::clock_gettime, readClock);

}  // namespace

FrozenClock::FrozenClock(std::uint64_t microseconds) {
    tMicroseconds = microseconds;
    tFrozen = true;
}

FrozenClock::~FrozenClock() {
    tFrozen = false;
}

}  // namespace cabinaudio::test
