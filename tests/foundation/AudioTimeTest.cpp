// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/foundation/Platform.h"
#include "tests/foundation/Signals.h"
#include "tests/support/Logged.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>

namespace cabinaudio::test {
namespace {

constexpr std::int64_t MOST = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t LEAST = std::numeric_limits<std::int64_t>::min();

/// A time that holds just this.
AudioTime timeOf(time_t seconds, long nanoseconds) {
    AudioTime time;
    *time.getTimespec() = {seconds, nanoseconds};
    return time;
}

void expectTravel(AudioTime time, std::int64_t us, time_t seconds, long nanoseconds) {
    time.travel(us);
    EXPECT_EQ(time.getTimespec()->tv_sec, seconds) << us;
    EXPECT_EQ(time.getTimespec()->tv_nsec, nanoseconds) << us;
}

std::uint64_t microseconds(const struct timespec& time) {
    return static_cast<std::uint64_t>(time.tv_sec) * 1000000 +
           static_cast<std::uint64_t>(time.tv_nsec) / 1000;
}

std::uint64_t monotonic() {
    struct timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return microseconds(time);
}

TEST(Time, HasTheSizeOfATimespec) {
    EXPECT_EQ(sizeof(AudioTime), sizeof(struct timespec));
}

TEST(Time, HoldsTheMomentOfItsConstruction) {
    const std::uint64_t before = monotonic();
    AudioTime time;
    EXPECT_GE(microseconds(*time.getTimespec()), before);
    EXPECT_LE(microseconds(*time.getTimespec()), monotonic());
}

TEST(Clock, IsMonotonicInMicroseconds) {
    ASSERT_TRUE(AudioTime::advancedTimeoutPolicy());
    const std::uint64_t before = monotonic();
    const std::uint64_t now = AudioTime::now();
    EXPECT_GE(now, before);
    EXPECT_LE(now, monotonic());
    struct timespec time = {};
    AudioTime::now(&time);
    EXPECT_GE(microseconds(time), now);
    EXPECT_LE(microseconds(time), monotonic());
}

TEST(Clock, LogsWhenItCannotBeRead) {
    const LogCapture log;
    struct timespec time = {12, 34};
    {
        const Failing clock("clock_gettime", EINVAL);
        AudioTime::now(&time);
        EXPECT_TRUE(clock.happened());
    }
    EXPECT_EQ(time.tv_sec, 12);
    EXPECT_EQ(time.tv_nsec, 34);
    const Failing clock("clock_gettime", EPERM);
    EXPECT_EQ(AudioTime::now(), 0U);
    EXPECT_TRUE(logged(log, ERROR, "AudioTime", "now",
                       "Fail to get clock time, error:Invalid argument(22).\n"));
    EXPECT_TRUE(logged(log, ERROR, "Fail to get clock time, error:Operation not permitted(1).\n"));
}

TEST(TimeTravel, AddsMicroseconds) {
    expectTravel(timeOf(5, 0), 0, 5, 0);
    expectTravel(timeOf(5, 0), 1, 5, 1000);
    expectTravel(timeOf(5, 999999000), 1, 6, 0);
    expectTravel(timeOf(5, 999999999), 1, 6, 999);
    expectTravel(timeOf(5, 500000000), 3600500000, 3606, 0);
}

TEST(TimeTravel, SubtractsMicroseconds) {
    expectTravel(timeOf(5, 0), -1, 4, 999999000);
    expectTravel(timeOf(5, 1000), -1, 5, 0);
    expectTravel(timeOf(5, 999), -1, 4, 999999999);
    expectTravel(timeOf(5, 0), -1000000, 4, 0);
    expectTravel(timeOf(5, 0), -2500000, 2, 500000000);
    expectTravel(timeOf(5, 250000000), -5250000, 0, 0);
    expectTravel(timeOf(0, 0), -1, -1, 999999000);
}

TEST(TimeTravel, EndsWhereItBeganWhenItIsUndone) {
    for (const std::int64_t us : {std::int64_t{1}, std::int64_t{999999}, std::int64_t{1000001},
                                  std::int64_t{123456789012}}) {
        AudioTime time = timeOf(1000000000, 123456789);
        time.travel(-us);
        time.travel(us);
        EXPECT_EQ(time.getTimespec()->tv_sec, 1000000000);
        EXPECT_EQ(time.getTimespec()->tv_nsec, 123456789);
    }
}

TEST(TimeTravel, StopsAtTheEndsOfTheClock) {
    constexpr time_t LAST = std::numeric_limits<time_t>::max();
    constexpr time_t FIRST = std::numeric_limits<time_t>::min();
    expectTravel(timeOf(LAST, 0), 2000000, LAST, 0);
    expectTravel(timeOf(LAST, 999999000), 1, LAST, 0);
    expectTravel(timeOf(FIRST, 0), -2000000, FIRST, 0);
    if constexpr (sizeof(time_t) == 4) {
        expectTravel(timeOf(5, 0), MOST, LAST, 775807000);
        expectTravel(timeOf(5, 0), LEAST, FIRST, 224192000);
    } else {
        expectTravel(timeOf(5, 0), MOST, static_cast<time_t>(9223372036859), 775807000);
        expectTravel(timeOf(5, 0), LEAST, static_cast<time_t>(-9223372036850), 224192000);
    }
}

TEST(Sleep, LastsAtLeastItsMicroseconds) {
    const std::uint64_t before = monotonic();
    EXPECT_EQ(AudioTime::sleep(2500), 0);
    EXPECT_GE(monotonic() - before, 2500U);
    EXPECT_EQ(AudioTime::sleep(0), 0);
}

TEST(Sleep, LastsAtLeastItsTimeAboveASecond) {
    const std::uint64_t before = monotonic();
    EXPECT_EQ(AudioTime::sleep(1002000), 0);
    EXPECT_GE(monotonic() - before, 1002000U);
}

TEST(Sleep, EndsEarlyWhenASignalInterruptsIt) {
    std::int32_t result = 0;
    int error = 0;
    runUnderSignals([&] {
        result = AudioTime::sleep(std::numeric_limits<std::uint64_t>::max());
        error = errno;
    });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(error, EINTR);
}

}  // namespace
}  // namespace cabinaudio::test
