// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/foundation/Platform.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <limits>
#include <thread>

using cabinaudio::test::Failing;
using cabinaudio::test::LogCapture;

namespace {

constexpr int kError = 6;
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

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

}  // namespace

TEST(ATime, IsNothingButAPointInTime) {
    EXPECT_EQ(sizeof(AudioTime), sizeof(struct timespec));
}

TEST(ATime, HoldsTheMomentOfItsConstruction) {
    const std::uint64_t before = monotonic();
    AudioTime time;
    EXPECT_GE(microseconds(*time.getTimespec()), before);
    EXPECT_LE(microseconds(*time.getTimespec()), monotonic());
}

TEST(TheClock, IsMonotonicInMicroseconds) {
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

TEST(TheClock, LogsWhenItCannotBeRead) {
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
    EXPECT_EQ(log.count(kError, "AudioTime", "now",
                        "Fail to get clock time, error:Invalid argument(22).\n"),
              1U)
        << log.dump();
    EXPECT_EQ(log.count(kError, "Fail to get clock time, error:Operation not permitted(1).\n"), 1U)
        << log.dump();
}

TEST(ATravel, GoesForward) {
    expectTravel(timeOf(5, 0), 0, 5, 0);
    expectTravel(timeOf(5, 0), 1, 5, 1000);
    expectTravel(timeOf(5, 999999000), 1, 6, 0);
    expectTravel(timeOf(5, 999999999), 1, 6, 999);
    expectTravel(timeOf(5, 500000000), 3600500000, 3606, 0);
}

TEST(ATravel, GoesBack) {
    expectTravel(timeOf(5, 0), -1, 4, 999999000);
    expectTravel(timeOf(5, 1000), -1, 5, 0);
    expectTravel(timeOf(5, 999), -1, 4, 999999999);
    expectTravel(timeOf(5, 0), -1000000, 4, 0);
    expectTravel(timeOf(5, 0), -2500000, 2, 500000000);
    expectTravel(timeOf(5, 250000000), -5250000, 0, 0);
    expectTravel(timeOf(0, 0), -1, -1, 999999000);
}

TEST(ATravel, ThereAndBackEndsWhereItBegan) {
    for (const std::int64_t us : {std::int64_t{1}, std::int64_t{999999}, std::int64_t{1000001},
                                  std::int64_t{123456789012}}) {
        AudioTime time = timeOf(1000000000, 123456789);
        time.travel(-us);
        time.travel(us);
        EXPECT_EQ(time.getTimespec()->tv_sec, 1000000000);
        EXPECT_EQ(time.getTimespec()->tv_nsec, 123456789);
    }
}

TEST(ATravel, StopsAtTheEndsOfTheClock) {
    constexpr time_t last = std::numeric_limits<time_t>::max();
    constexpr time_t first = std::numeric_limits<time_t>::min();
    expectTravel(timeOf(last, 0), 2000000, last, 0);
    expectTravel(timeOf(last, 999999000), 1, last, 0);
    expectTravel(timeOf(first, 0), -2000000, first, 0);
    if constexpr (sizeof(time_t) == 4) {
        expectTravel(timeOf(5, 0), kMost, last, 775807000);
        expectTravel(timeOf(5, 0), kLeast, first, 224192000);
    } else {
        expectTravel(timeOf(5, 0), kMost, static_cast<time_t>(9223372036859), 775807000);
        expectTravel(timeOf(5, 0), kLeast, static_cast<time_t>(-9223372036850), 224192000);
    }
}

TEST(ASleep, LastsAsManyMicroseconds) {
    const std::uint64_t before = monotonic();
    EXPECT_EQ(AudioTime::sleep(2500), 0);
    EXPECT_GE(monotonic() - before, 2500U);
    EXPECT_EQ(AudioTime::sleep(0), 0);
}

TEST(ASleep, OfMoreThanASecondIsSplitRight) {
    const std::uint64_t before = monotonic();
    EXPECT_EQ(AudioTime::sleep(1002000), 0);
    EXPECT_GE(monotonic() - before, 1002000U);
}

TEST(ASleep, EndsEarlyWhenASignalInterruptsIt) {
    struct sigaction action = {};
    struct sigaction original = {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGUSR1, &action, &original), 0);
    std::atomic<bool> done{false};
    std::int32_t result = 0;
    int error = 0;
    std::thread sleeper([&] {
        result = AudioTime::sleep(std::numeric_limits<std::uint64_t>::max());
        error = errno;
        done = true;
    });
    while (!done) {
        pthread_kill(sleeper.native_handle(), SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    sleeper.join();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(error, EINTR);
    ASSERT_EQ(sigaction(SIGUSR1, &original, nullptr), 0);
}
