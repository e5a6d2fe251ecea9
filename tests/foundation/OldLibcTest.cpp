// SPDX-License-Identifier: Apache-2.0
// The clock that the library chooses for good at its first use, by the C library's version. Each
// test therefore lives in a child process, and nothing here may use the library in this one.
#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioSemaphore.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/foundation/Child.h"
#include "tests/foundation/Platform.h"

#include <gtest/gtest.h>

#include <cerrno>

using cabinaudio::test::ChildEnd;
using cabinaudio::test::Failing;
using cabinaudio::test::lastTimedWait;
using cabinaudio::test::pretendLibcVersion;
using cabinaudio::test::runInChild;

namespace {

std::uint64_t clockNow(clockid_t clock) {
    struct timespec time = {};
    clock_gettime(clock, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * 1000000 +
           static_cast<std::uint64_t>(time.tv_nsec) / 1000;
}

void expectTimeStampsOf(clockid_t clock) {
    const std::uint64_t before = clockNow(clock);
    const std::uint64_t now = AudioTime::now();
    const std::uint64_t after = clockNow(clock);
    EXPECT_GE(now, before);
    EXPECT_LE(now, after);
}

void expectTheNewWay() {
    EXPECT_TRUE(AudioTime::advancedTimeoutPolicy());
    expectTimeStampsOf(CLOCK_MONOTONIC);
    AudioSemaphore semaphore(false);
    EXPECT_EQ(semaphore.waitRelative(0), 1);
    EXPECT_STREQ(lastTimedWait().function, "sem_clockwait");
    EXPECT_EQ(lastTimedWait().clock, CLOCK_MONOTONIC);
}

void expectTheOldWay() {
    EXPECT_FALSE(AudioTime::advancedTimeoutPolicy());
    expectTimeStampsOf(CLOCK_REALTIME);
    AudioSemaphore semaphore(false);
    EXPECT_EQ(semaphore.waitRelative(0), 1);
    EXPECT_STREQ(lastTimedWait().function, "sem_timedwait");
    semaphore.signal();
    EXPECT_EQ(semaphore.waitRelative(60000), 0);
    EXPECT_STREQ(lastTimedWait().function, "sem_timedwait");
}

void expectPass(void (*body)()) {
    const ChildEnd end = runInChild(body);
    EXPECT_TRUE(end.passed()) << end.status << "\n" << end.output;
}

}  // namespace

TEST(ACLibraryOf2_29, MakesEverythingUseTheRealTimeClock) {
    expectPass([] {
        pretendLibcVersion("2.29");
        expectTheOldWay();
    });
}

TEST(ACLibraryOf2_30, IsTheFirstForTheMonotonicClock) {
    expectPass([] {
        pretendLibcVersion("2.30");
        expectTheNewWay();
    });
}

TEST(ACLibraryOf2_36, UsesTheMonotonicClock) {
    expectPass([] {
        pretendLibcVersion("2.36");
        expectTheNewWay();
    });
}

TEST(ACLibraryOf2_4, CountsAsNewerBecauseVersionsAreComparedAsText) {
    expectPass([] {
        pretendLibcVersion("2.4");
        expectTheNewWay();
    });
}

TEST(ACLibraryOf2_3, CountsAsOld) {
    expectPass([] {
        pretendLibcVersion("2.3");
        expectTheOldWay();
    });
}

TEST(ACLibraryWithoutAVersion, CountsAsOld) {
    expectPass([] {
        pretendLibcVersion(nullptr);
        expectTheOldWay();
    });
}

TEST(TheClockOfAProcess, IsChosenOnce) {
    expectPass([] {
        pretendLibcVersion("2.29");
        EXPECT_FALSE(AudioTime::advancedTimeoutPolicy());
        pretendLibcVersion("2.36");
        expectTheOldWay();
    });
}

TEST(AConditionOnAnOldCLibrary, TakesItsDeadlineFromTheRealTimeClockAllTheSame) {
    expectPass([] {
        pretendLibcVersion("2.29");
        AudioMutex mutex(false);
        AudioCondition condition(false);
        const AudioMutex::AutoLock lock(mutex);
        const Failing quick("pthread_cond_timedwait", ETIMEDOUT);
        const std::uint64_t before = clockNow(CLOCK_REALTIME);
        EXPECT_EQ(condition.waitRelative(mutex, 90000), -110);
        const struct timespec deadline = lastTimedWait().deadline;
        EXPECT_GE(static_cast<std::uint64_t>(deadline.tv_sec) + 1, before / 1000000 + 90);
    });
}
