// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioSemaphore.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/foundation/Platform.h"
#include "tests/foundation/SharedObject.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <limits>
#include <thread>

using cabinaudio::test::exitStatusOf;
using cabinaudio::test::Failing;
using cabinaudio::test::forkAndRun;
using cabinaudio::test::lastTimedWait;
using cabinaudio::test::LogCapture;
using cabinaudio::test::SharedObject;

namespace {

constexpr int kDebug = 3;
constexpr int kError = 6;
constexpr std::uint64_t kLongMs = 60000;

struct SharedSemaphores {
    AudioSemaphore there{true};
    AudioSemaphore back{true};
};

/// A plain thread that runs `body` and gets a signal every millisecond until it is done.
template <typename Body>
void runUnderSignals(Body body) {
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = [](int) {};  // without SA_RESTART
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    std::atomic<bool> done{false};
    std::thread thread([&] {
        body();
        done = true;
    });
    while (!done) {
        pthread_kill(thread.native_handle(), SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    thread.join();
    ASSERT_EQ(sigaction(SIGUSR1, &before, nullptr), 0);
}

}  // namespace

TEST(ASemaphore, IsNothingButThePlatformsSemaphore) {
    EXPECT_EQ(sizeof(AudioSemaphore), sizeof(sem_t));
}

TEST(ASemaphore, StartsAtZeroAndCounts) {
    AudioSemaphore semaphore(false);
    EXPECT_EQ(semaphore.waitRelative(0), 1);
    semaphore.signal();
    semaphore.signal();
    semaphore.wait();
    EXPECT_EQ(semaphore.waitRelative(0), 0);
    EXPECT_EQ(semaphore.waitRelative(0), 1);
}

TEST(ASemaphore, WakesAWaitingThread) {
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

TEST(ASemaphore, EndsAWaitThatASignalInterrupts) {
    const LogCapture log;
    AudioSemaphore semaphore(false);
    runUnderSignals([&] { semaphore.wait(); });
    EXPECT_EQ(log.count(kDebug, "AudioSemaphore", "wait", "AUDIO IGNORE(sem_wait(&mSem) == 0)!\n"),
              1U)
        << log.dump();
    EXPECT_EQ(semaphore.waitRelative(0), 1);  // nothing was taken, nothing is owed
}

TEST(ATimedSemaphoreWait, EndsAfterItsTime) {
    AudioSemaphore semaphore(false);
    const std::uint64_t before = AudioTime::now();
    EXPECT_EQ(semaphore.waitRelative(20), 1);
    EXPECT_GE(AudioTime::now() - before, 20000U);
}

TEST(ATimedSemaphoreWait, IsWokenByAPost) {
    AudioSemaphore semaphore(false);
    std::thread poster([&] { semaphore.signal(); });
    EXPECT_EQ(semaphore.waitRelative(kLongMs), 0);
    poster.join();
}

TEST(ATimedSemaphoreWait, IsSilentWhenItTimesOut) {
    const LogCapture log;
    AudioSemaphore semaphore(false);
    EXPECT_EQ(semaphore.waitRelative(1), 1);
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST(ATimedSemaphoreWait, CountsMillisecondsOnTheMonotonicClock) {
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

TEST(ATimedSemaphoreWait, OfAllTimeDoesNotWrapRound) {
    AudioSemaphore semaphore(false);
    const Failing quick("sem_clockwait", ETIMEDOUT);
    EXPECT_EQ(semaphore.waitRelative(std::numeric_limits<std::uint64_t>::max()), 1);
    EXPECT_GE(lastTimedWait().deadline.tv_sec, 0x7fffffff);
}

TEST(ATimedSemaphoreWait, OfAllTimeIsStillWokenByAPost) {
    AudioSemaphore semaphore(false);
    std::thread poster([&] { semaphore.signal(); });
    EXPECT_EQ(semaphore.waitRelative(std::numeric_limits<std::uint64_t>::max()), 0);
    poster.join();
}

TEST(ATimedSemaphoreWait, FailsWhenASignalInterruptsIt) {
    const LogCapture log;
    AudioSemaphore semaphore(false);
    std::int32_t result = 0;
    runUnderSignals([&] { result = semaphore.waitRelative(kLongMs); });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(log.count(kError, "AudioSemaphore", "waitRelative",
                        "Fail to wait, ret=-1, error=Interrupted system call(4).\n"),
              1U)
        << log.dump();
}

TEST(ATimedSemaphoreWait, LogsAnyOtherFailure) {
    const LogCapture log;
    AudioSemaphore semaphore(false);
    const Failing wait("sem_clockwait", EINVAL);
    EXPECT_EQ(semaphore.waitRelative(kLongMs), -1);
    EXPECT_EQ(log.count(kError, "Fail to wait, ret=-1, error=Invalid argument(22).\n"), 1U)
        << log.dump();
}

TEST(APost, LogsItsFailure) {
    const LogCapture log;
    AudioSemaphore semaphore(false);
    const Failing post("sem_post", EOVERFLOW);
    semaphore.signal();
    EXPECT_EQ(log.count(kError, "AudioSemaphore", "signal", "Fail to sem post, ret=-1.\n"), 1U)
        << log.dump();
}

TEST(ASharedSemaphore, WakesAnotherProcess) {
    SharedObject<SharedSemaphores> shared;
    const pid_t child = forkAndRun([&] {
        if (shared->there.waitRelative(kLongMs) != 0) return 1;
        shared->back.signal();
        return 0;
    });
    shared->there.signal();
    EXPECT_EQ(shared->back.waitRelative(kLongMs), 0);
    EXPECT_EQ(exitStatusOf(child), 0);
}
