// SPDX-License-Identifier: Apache-2.0
#include "tests/shm/OwnClock.h"

#include "tests/interpose/Waits.h"

#include <utility>

namespace cabinaudio::test {
namespace {

constinit thread_local std::function<int(struct timespec&)>* tRead = nullptr;

int readClock(clockid_t clock, struct timespec* time) {
    return tRead != nullptr ? (*tRead)(*time) : platform::clock_gettime.real(clock, time);
}

const Hooked CLOCK(platform::clock_gettime, readClock);

}  // namespace

OwnClock::OwnClock(std::function<int(struct timespec&)> read) : mRead(std::move(read)) {
    tRead = &mRead;
}

OwnClock::~OwnClock() {
    tRead = nullptr;
}

}  // namespace cabinaudio::test
