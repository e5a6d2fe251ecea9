// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/foundation/Platform.h"
#include "tests/foundation/SharedObject.h"
#include "tests/support/ProcessState.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <limits>
#include <thread>

using cabinaudio::test::eventually;
using cabinaudio::test::exitStatusOf;
using cabinaudio::test::Failing;
using cabinaudio::test::forkAndRun;
using cabinaudio::test::lastSharing;
using cabinaudio::test::lastTimedWait;
using cabinaudio::test::SharedObject;

namespace {

constexpr int kTimedOut = -110;
constexpr std::uint64_t kLongMs = 60000;

/// A flag with the lock and the condition that announce it.
struct Flag {
    explicit Flag(bool shared = false) : lock(shared), changed(shared) {}

    void set(void (AudioCondition::*wake)()) {
        const AudioMutex::AutoLock hold(lock);
        raised = true;
        (changed.*wake)();
    }

    AudioMutex lock;
    AudioCondition changed;
    bool raised = false;
};

struct SharedFlag : Flag {
    SharedFlag() : Flag(true) {}
};

double seconds(const struct timespec& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double monotonicSeconds() {
    struct timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return seconds(time);
}

}  // namespace

TEST(ACondition, IsNothingButThePlatformsCondition) {
    EXPECT_EQ(sizeof(AudioCondition), sizeof(pthread_cond_t));
}

TEST(ACondition, IsSharedBetweenProcessesOnlyWhenAsked) {
    const AudioCondition own(false);
    EXPECT_EQ(lastSharing(), PTHREAD_PROCESS_PRIVATE);
    const AudioCondition shared(true);
    EXPECT_EQ(lastSharing(), PTHREAD_PROCESS_SHARED);
}

TEST(ACondition, WakesItsWaiterWhenItIsSignalled) {
    Flag flag;
    flag.lock.lock();
    std::thread waker([&] { flag.set(&AudioCondition::signal); });
    while (!flag.raised)
        flag.changed.wait(flag.lock);
    EXPECT_TRUE(flag.raised);
    flag.lock.unlock();
    waker.join();
}

TEST(ACondition, WakesAllWaitersWhenItIsBroadcast) {
    Flag flag;
    std::array<std::thread, 3> waiters;
    int waiting = 0;
    int woken = 0;
    for (std::thread& waiter : waiters) {
        waiter = std::thread([&] {
            const AudioMutex::AutoLock hold(flag.lock);
            ++waiting;
            while (!flag.raised)
                flag.changed.wait(flag.lock);
            ++woken;
        });
    }
    const auto allWait = [&] {
        const AudioMutex::AutoLock hold(flag.lock);
        return waiting == 3;
    };
    EXPECT_TRUE(eventually(allWait));
    flag.set(&AudioCondition::broadcast);
    for (std::thread& waiter : waiters)
        waiter.join();
    EXPECT_EQ(woken, 3);
}

TEST(ATimedConditionWait, ReturnsZeroWhenItIsWoken) {
    Flag flag;
    flag.lock.lock();
    std::thread waker([&] { flag.set(&AudioCondition::signal); });
    std::int32_t result = -1;
    while (!flag.raised)
        result = flag.changed.waitRelative(flag.lock, kLongMs);
    EXPECT_EQ(result, 0);
    flag.lock.unlock();
    waker.join();
}

TEST(ATimedConditionWait, EndsAfterItsTime) {
    AudioMutex lock(false);
    AudioCondition condition(false);
    const AudioMutex::AutoLock hold(lock);
    const std::uint64_t before = AudioTime::now();
    std::int32_t result = 0;
    while (result == 0)
        result = condition.waitRelative(lock, 20);  // 0 is a spurious wake-up
    EXPECT_EQ(result, kTimedOut);
    EXPECT_GE(AudioTime::now() - before, 20000U);
}

TEST(ATimedConditionWait, OfNoTimeEndsAtOnce) {
    AudioMutex lock(false);
    AudioCondition condition(false);
    const AudioMutex::AutoLock hold(lock);
    EXPECT_EQ(condition.waitRelative(lock, 0), kTimedOut);
}

TEST(ATimedConditionWait, CountsMillisecondsOnTheMonotonicClock) {
    AudioMutex lock(false);
    AudioCondition condition(false);
    const AudioMutex::AutoLock hold(lock);
    const Failing quick("pthread_cond_timedwait", ETIMEDOUT);
    const double before = monotonicSeconds();
    EXPECT_EQ(condition.waitRelative(lock, 90000), kTimedOut);
    const double after = monotonicSeconds();
    EXPECT_GE(seconds(lastTimedWait().deadline), before + 89.9999);
    EXPECT_LE(seconds(lastTimedWait().deadline), after + 90.0001);
}

TEST(ATimedConditionWait, OfAllTimeDoesNotWrapRound) {
    AudioMutex lock(false);
    AudioCondition condition(false);
    const AudioMutex::AutoLock hold(lock);
    const Failing quick("pthread_cond_timedwait", ETIMEDOUT);
    EXPECT_EQ(condition.waitRelative(lock, std::numeric_limits<std::uint64_t>::max()), kTimedOut);
    EXPECT_GE(lastTimedWait().deadline.tv_sec, 0x7fffffff);
    EXPECT_GE(lastTimedWait().deadline.tv_nsec, 0);
    EXPECT_LT(lastTimedWait().deadline.tv_nsec, 1000000000);
}

TEST(ATimedConditionWait, NegatesEveryError) {
    AudioMutex lock(false);
    AudioCondition condition(false);
    const AudioMutex::AutoLock hold(lock);
    const Failing wait("pthread_cond_timedwait", EPERM);
    EXPECT_EQ(condition.waitRelative(lock, kLongMs), -EPERM);
}

TEST(ASharedCondition, WakesAnotherProcess) {
    SharedObject<SharedFlag> flag;
    const pid_t child = forkAndRun([&] {
        const AudioMutex::AutoLock hold(flag->lock);
        while (!flag->raised)
            if (flag->changed.waitRelative(flag->lock, kLongMs) != 0) return 1;
        return 0;
    });
    flag->set(&AudioCondition::signal);
    EXPECT_EQ(exitStatusOf(child), 0);
}
