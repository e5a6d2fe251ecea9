// SPDX-License-Identifier: Apache-2.0
// The clock that the library chooses for good at its first use, by the C library's version. Each
// test therefore lives in a child process, and nothing here may use the library in this one.
#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioSemaphore.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/foundation/Child.h"
#include "tests/foundation/Platform.h"
#include "tests/support/Row.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace cabinaudio::test {
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

struct Version : Row {
    const char* text;  // of the C library
    bool isOld;
};

class LibcVersion : public ::testing::TestWithParam<Version> {};

TEST_P(LibcVersion, ChoosesTheClock) {
    expectPass([] {
        pretendLibcVersion(GetParam().text);
        if (GetParam().isOld)
            expectTheOldWay();
        else
            expectTheNewWay();
    });
}

constexpr Version VERSIONS[] = {
    {"2_29", "2.29", true},                          //
    {"2_30", "2.30", false},                         // the first for the monotonic clock
    {"2_36", "2.36", false}, {"2_4", "2.4", false},  // newer, because versions are compared as text
    {"2_3", "2.3", true},    {"None", nullptr, true},
};

INSTANTIATE_TEST_SUITE_P(Versions, LibcVersion, ::testing::ValuesIn(VERSIONS), ROW_NAME);

TEST(LibraryClock, IsChosenOnceForAProcess) {
    expectPass([] {
        pretendLibcVersion("2.29");
        EXPECT_FALSE(AudioTime::advancedTimeoutPolicy());
        pretendLibcVersion("2.36");
        expectTheOldWay();
    });
}

TEST(ConditionOnAnOldCLibrary, TakesItsDeadlineFromTheRealTimeClock) {
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

}  // namespace
}  // namespace cabinaudio::test
