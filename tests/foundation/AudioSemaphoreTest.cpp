// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioSemaphore.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/foundation/Platform.h"
#include "tests/foundation/SharedObject.h"
#include "tests/foundation/Signals.h"
#include "tests/support/Logged.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>
#include <thread>

namespace cabinaudio::test {
namespace {

struct SharedSemaphores {
    AudioSemaphore there{true};
    AudioSemaphore back{true};
};

TEST(Semaphore, HasTheSizeOfThePlatformsSemaphore) {
    EXPECT_EQ(sizeof(AudioSemaphore), sizeof(sem_t));
}

TEST(Semaphore, StartsAtZeroAndCounts) {
    AudioSemaphore semaphore(false);
    EXPECT_EQ(semaphore.waitRelative(0), 1);
    semaphore.signal();
    semaphore.signal();
    semaphore.wait();
    EXPECT_EQ(semaphore.waitRelative(0), 0);
    EXPECT_EQ(semaphore.waitRelative(0), 1);
}

TEST(Semaphore, WakesAWaitingThread) {
    AudioSemaphore there(false);
    AudioSemaphore back(false);
    int value = 0;
    std::thread thread([&] {
        there.wait();
        value = value * 2;
        back.signal();
    });
    value = 21;
    there.signal();
    back.wait();
    EXPECT_EQ(value, 42);
    thread.join();
}

TEST(Semaphore, WaitEndsWhenASignalInterruptsIt) {
    const LogCapture log;
    AudioSemaphore semaphore(false);
    runUnderSignals([&] { semaphore.wait(); });
    EXPECT_TRUE(
        logged(log, DEBUG, "AudioSemaphore", "wait", "AUDIO IGNORE(sem_wait(&mSem) == 0)!\n"));
    EXPECT_EQ(semaphore.waitRelative(0), 1);  // nothing was taken, nothing is owed
}

TEST(TimedSemaphoreWait, EndsAfterItsTime) {
    AudioSemaphore semaphore(false);
    const std::uint64_t before = AudioTime::now();
    EXPECT_EQ(semaphore.waitRelative(20), 1);
    EXPECT_GE(AudioTime::now() - before, 20000U);
}

TEST(TimedSemaphoreWait, IsWokenByAPost) {
    AudioSemaphore semaphore(false);
    std::thread poster([&] { semaphore.signal(); });
    EXPECT_EQ(semaphore.waitRelative(LONG_MS), 0);
    poster.join();
}

TEST(TimedSemaphoreWait, IsSilentWhenItTimesOut) {
    const LogCapture log;
    AudioSemaphore semaphore(false);
    EXPECT_EQ(semaphore.waitRelative(1), 1);
    EXPECT_TRUE(logIsEmpty(log));
}

TEST(TimedSemaphoreWait, CountsMillisecondsOnTheMonotonicClock) {
    AudioSemaphore semaphore(false);
    const Failing quick("sem_clockwait", ETIMEDOUT);
    AudioTime before;
    EXPECT_EQ(semaphore.waitRelative(90500), 1);
    EXPECT_STREQ(lastTimedWait().function, "sem_clockwait");
    EXPECT_EQ(lastTimedWait().clock, CLOCK_MONOTONIC);
    const struct timespec deadline = lastTimedWait().deadline;
    const auto spanMs = (deadline.tv_sec - before.getTimespec()->tv_sec) * 1000 +
                        (deadline.tv_nsec - before.getTimespec()->tv_nsec) / 1000000;
    EXPECT_GE(spanMs, 90499);
    EXPECT_LE(spanMs, 90500 + 20000);
}

TEST(TimedSemaphoreWait, DoesNotWrapRoundForTheLongestTime) {
    AudioSemaphore semaphore(false);
    const Failing quick("sem_clockwait", ETIMEDOUT);
    EXPECT_EQ(semaphore.waitRelative(std::numeric_limits<std::uint64_t>::max()), 1);
    EXPECT_GE(lastTimedWait().deadline.tv_sec, 0x7fffffff);
}

TEST(TimedSemaphoreWait, OfTheLongestTimeIsWokenByAPost) {
    AudioSemaphore semaphore(false);
    std::thread poster([&] { semaphore.signal(); });
    EXPECT_EQ(semaphore.waitRelative(std::numeric_limits<std::uint64_t>::max()), 0);
    poster.join();
}

TEST(TimedSemaphoreWait, FailsWhenASignalInterruptsIt) {
    const LogCapture log;
    AudioSemaphore semaphore(false);
    std::int32_t result = 0;
    runUnderSignals([&] { result = semaphore.waitRelative(LONG_MS); });
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(logged(log, ERROR, "AudioSemaphore", "waitRelative",
                       "Fail to wait, ret=-1, error=Interrupted system call(4).\n"));
}

TEST(TimedSemaphoreWait, LogsAnyOtherFailure) {
    const LogCapture log;
    AudioSemaphore semaphore(false);
    const Failing wait("sem_clockwait", EINVAL);
    EXPECT_EQ(semaphore.waitRelative(LONG_MS), -1);
    EXPECT_TRUE(logged(log, ERROR, "Fail to wait, ret=-1, error=Invalid argument(22).\n"));
}

TEST(Semaphore, LogsAPostThatFails) {
    const LogCapture log;
    AudioSemaphore semaphore(false);
    const Failing post("sem_post", EOVERFLOW);
    semaphore.signal();
    EXPECT_TRUE(logged(log, ERROR, "AudioSemaphore", "signal", "Fail to sem post, ret=-1.\n"));
}

TEST(Semaphore, WakesAnotherProcessWhenItIsShared) {
    SharedObject<SharedSemaphores> shared;
    const pid_t child = forkAndRun([&] {
        if (shared->there.waitRelative(LONG_MS) != 0) return 1;
        shared->back.signal();
        return 0;
    });
    shared->there.signal();
    EXPECT_EQ(shared->back.waitRelative(LONG_MS), 0);
    EXPECT_EQ(exitStatusOf(child), 0);
}

}  // namespace
}  // namespace cabinaudio::test
