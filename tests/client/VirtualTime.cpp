// SPDX-License-Identifier: Apache-2.0
//
// This program's versions of three exported operations come before the library's own.
#include "tests/client/VirtualTime.h"

#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMath.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioTime.h>

#include <dlfcn.h>

#include <atomic>
#include <cerrno>
#include <deque>
#include <mutex>
#include <utility>

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

/// The library's own function of one of these names, which differ with the width of integers.
template <typename Function>
Function next(const char* symbol, const char* otherSymbol) {
    void* const found = dlsym(RTLD_NEXT, symbol);
    return reinterpret_cast<Function>(found != nullptr ? found : dlsym(RTLD_NEXT, otherSymbol));
}

/// Whether the next wait is to be woken, and how.
bool takeWake(Wake& wake) {
    const std::lock_guard lock(gLock);
    if (gWakes.empty()) return false;
    wake = std::move(gWakes.front());
    gWakes.pop_front();
    return true;
}

}  // namespace

std::uint64_t AudioTime::now() {
    using Now = std::uint64_t (*)();
    static const auto real = next<Now>("_ZN9AudioTime3nowEv", "_ZN9AudioTime3nowEv");
    const std::uint64_t frozen = gNowUs;
    return frozen != 0 ? frozen : real();
}

std::int32_t AudioCondition::waitRelative(AudioMutex& mutex, std::uint64_t ms) {
    using Wait = std::int32_t (*)(AudioCondition*, AudioMutex&, std::uint64_t);
    static const auto real = next<Wait>("_ZN14AudioCondition12waitRelativeER10AudioMutexm",
                                        "_ZN14AudioCondition12waitRelativeER10AudioMutexy");
    if (!tVirtual) return real(this, mutex, ms);
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

std::int32_t audioMathRandn() {
    using Randn = std::int32_t (*)();
    static const auto real = next<Randn>("_Z14audioMathRandnv", "_Z14audioMathRandnv");
    const std::int32_t number = real();
    const std::lock_guard lock(gLock);
    gNoise.push_back(number);
    return number;
}

namespace cabinaudio::test {

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

void VirtualTime::beLate(std::uint64_t ms) {
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
