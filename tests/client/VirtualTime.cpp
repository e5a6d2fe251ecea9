// SPDX-License-Identifier: Apache-2.0
#include "tests/client/VirtualTime.h"

#include <cabinaudio/foundation/AudioMutex.h>

#include "tests/interpose/Operations.h"

#include <atomic>
#include <cerrno>
#include <deque>
#include <mutex>
#include <utility>

namespace cabinaudio::test {
namespace {

struct Wake {
    std::uint64_t ms;
    std::function<void()> event;
    bool isTimeOut;
};

std::atomic<std::uint64_t> gNowUs{0};  // 0: the real clock
std::atomic<std::uint64_t> gLateMs{0};
thread_local bool tVirtual = false;

std::mutex gLock;  // of the rest
std::vector<std::uint64_t> gWaits;
std::deque<Wake> gWakes;
std::vector<std::int32_t> gNoise;

/// Whether the next wait is to be woken, and how.
bool takeWake(Wake& wake) {
    const std::lock_guard lock(gLock);
    if (gWakes.empty()) return false;
    wake = std::move(gWakes.front());
    gWakes.pop_front();
    return true;
}

std::uint64_t virtualNow() {
    const std::uint64_t frozen = gNowUs;
    return frozen != 0 ? frozen : operations::now.real();
}

std::int32_t waitVirtually(AudioCondition* condition, AudioMutex& mutex, std::uint64_t ms)
    CABINAUDIO_REQUIRES(mutex) {
    if (!tVirtual) return operations::waitRelative.real(condition, mutex, ms);
    {
        const std::lock_guard lock(gLock);
        gWaits.push_back(ms);
    }
    Wake wake{};
    if (!takeWake(wake)) {
        gNowUs += (ms + gLateMs) * 1000;
        return -ETIMEDOUT;
    }
    gNowUs += (wake.isTimeOut ? ms : wake.ms) * 1000;
    if (wake.event) {
        tVirtual = false;
        mutex.unlock();
        wake.event();
        mutex.lock();
        tVirtual = true;
    }
    return wake.isTimeOut ? -ETIMEDOUT : 0;
}

std::int32_t noteNoise() {
    const std::int32_t number = operations::randn.real();
    const std::lock_guard lock(gLock);
    gNoise.push_back(number);
    return number;
}

const Hooked NOW(operations::now, virtualNow);
const Hooked WAIT(operations::waitRelative, waitVirtually);
const Hooked NOISE(operations::randn, noteNoise);

}  // namespace

VirtualTime::VirtualTime() {
    gNowUs = 1'000'000'000;
    (void)takeWaits();
    (void)takeNoise();
}

VirtualTime::~VirtualTime() {
    gNowUs = 0;
    gLateMs = 0;
    const std::lock_guard lock(gLock);
    gWakes.clear();
}

void VirtualTime::pass(std::uint64_t ms) {
    gNowUs += ms * 1000;
}

std::uint64_t VirtualTime::now() const {
    return gNowUs / 1000;
}

void VirtualTime::wakeLate(std::uint64_t ms) {
    gLateMs = ms;
}

void VirtualTime::wakeAfter(std::uint64_t ms, std::function<void()> event) {
    const std::lock_guard lock(gLock);
    gWakes.push_back({ms, std::move(event), false});
}

void VirtualTime::timeOutAfter(std::function<void()> event) {
    const std::lock_guard lock(gLock);
    gWakes.push_back({0, std::move(event), true});
}

int VirtualTime::during(const std::function<int()>& call) {
    tVirtual = true;
    const int result = call();
    tVirtual = false;
    return result;
}

std::vector<std::uint64_t> VirtualTime::takeWaits() {
    const std::lock_guard lock(gLock);
    return std::exchange(gWaits, {});
}

std::vector<std::int32_t> takeNoise() {
    const std::lock_guard lock(gLock);
    return std::exchange(gNoise, {});
}

}  // namespace cabinaudio::test
