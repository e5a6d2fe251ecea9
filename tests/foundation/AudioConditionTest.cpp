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

namespace cabinaudio::test {
namespace {

constexpr int TIMED_OUT = -110;

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

TEST(Condition, HasTheSizeOfThePlatformsCondition) {
    EXPECT_EQ(sizeof(AudioCondition), sizeof(pthread_cond_t));
}

TEST(Condition, IsSharedBetweenProcessesOnlyWhenAsked) {
    const AudioCondition own(false);
    EXPECT_EQ(lastSharing(), PTHREAD_PROCESS_PRIVATE);
    const AudioCondition shared(true);
    EXPECT_EQ(lastSharing(), PTHREAD_PROCESS_SHARED);
}

TEST(Condition, WakesItsWaiterWhenItIsSignalled) {
    Flag flag;
    flag.lock.lock();
    std::thread waker([&] { flag.set(&AudioCondition::signal); });
    while (!flag.raised)
        flag.changed.wait(flag.lock);
    EXPECT_TRUE(flag.raised);
    flag.lock.unlock();
    waker.join();
}

TEST(Condition, WakesAllWaitersWhenItIsBroadcast) {
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

TEST(Condition, TimedWaitReturnsZeroWhenItIsWoken) {
    Flag flag;
    flag.lock.lock();
    std::thread waker([&] { flag.set(&AudioCondition::signal); });
    std::int32_t result = -1;
    while (!flag.raised)
        result = flag.changed.waitRelative(flag.lock, LONG_MS);
    EXPECT_EQ(result, 0);
    flag.lock.unlock();
    waker.join();
}

/// A wait without a wake-up.
class TimedConditionWait : public ::testing::Test {
protected:
    /// Holds the lock, as a wait must.
    std::int32_t wait(std::uint64_t ms) {
        const AudioMutex::AutoLock hold(lock);
        return condition.waitRelative(lock, ms);
    }

    AudioMutex lock{false};
    AudioCondition condition{false};
};

TEST_F(TimedConditionWait, EndsAfterItsTime) {
    const std::uint64_t before = AudioTime::now();
    std::int32_t result = 0;
    while (result == 0)
        result = wait(20);  // 0 is a spurious wake-up
    EXPECT_EQ(result, TIMED_OUT);
    EXPECT_GE(AudioTime::now() - before, 20000U);
}

TEST_F(TimedConditionWait, EndsAtOnceWithoutATime) {
    EXPECT_EQ(wait(0), TIMED_OUT);
}

TEST_F(TimedConditionWait, CountsMillisecondsOnTheMonotonicClock) {
    const Failing quick("pthread_cond_timedwait", ETIMEDOUT);
    const double before = monotonicSeconds();
    EXPECT_EQ(wait(90000), TIMED_OUT);
    const double after = monotonicSeconds();
    EXPECT_GE(seconds(lastTimedWait().deadline), before + 89.9999);
    EXPECT_LE(seconds(lastTimedWait().deadline), after + 90.0001);
}

TEST_F(TimedConditionWait, DoesNotWrapRoundForTheLongestTime) {
    const Failing quick("pthread_cond_timedwait", ETIMEDOUT);
    EXPECT_EQ(wait(std::numeric_limits<std::uint64_t>::max()), TIMED_OUT);
    EXPECT_GE(lastTimedWait().deadline.tv_sec, 0x7fffffff);
    EXPECT_GE(lastTimedWait().deadline.tv_nsec, 0);
    EXPECT_LT(lastTimedWait().deadline.tv_nsec, 1000000000);
}

TEST_F(TimedConditionWait, ReturnsAnErrorNegated) {
    const Failing failing("pthread_cond_timedwait", EPERM);
    EXPECT_EQ(wait(LONG_MS), -EPERM);
}

TEST(Condition, WakesAnotherProcessWhenItIsShared) {
    SharedObject<SharedFlag> flag;
    const pid_t child = forkAndRun([&] {
        const AudioMutex::AutoLock hold(flag->lock);
        while (!flag->raised)
            if (flag->changed.waitRelative(flag->lock, LONG_MS) != 0) return 1;
        return 0;
    });
    flag->set(&AudioCondition::signal);
    EXPECT_EQ(exitStatusOf(child), 0);
}

}  // namespace
}  // namespace cabinaudio::test
