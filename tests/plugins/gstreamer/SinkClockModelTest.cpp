// SPDX-License-Identifier: Apache-2.0
// The clock by itself, beside a server whose periods are exact and noticed late. Only the test
// moves the time, so the bounds are those of the clock and not of the machine.
#include "plugins/gstreamer/SinkClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

namespace cabinaudio::test {
namespace {

using gstreamer::SinkClock;
using plugin::PumpState;

constexpr unsigned RATE = 48'000;
constexpr std::uint64_t PERIOD_US = 16'000;
constexpr std::uint64_t PERIOD_FRAMES = RATE * PERIOD_US / 1'000'000;
constexpr std::uint64_t MINUTE_US = 60'000'000;

/// A server that takes a period at each multiple of its length, by a clock that runs at a speed of
/// its own, and a pump that notices each of them up to `latest` microseconds later.
class SteadyServer {
public:
    SteadyServer(double speed, std::uint64_t latest) : mSpeed(speed), mLatest(latest) {}

    /// What the pump knows at this time, which never falls from call to call.
    const plugin::PlaybackPump::Course& courseAt(std::uint64_t now) {
        mCourse.state = PumpState::Running;
        while (noticed(mNext) <= now) {
            mCourse.time = noticed(mNext);
            ++mNext;
            mCourse.position = mNext * PERIOD_FRAMES;
            mDelay = std::uniform_int_distribution<std::uint64_t>(0, mLatest)(mRandom);
        }
        return mCourse;
    }
    /// Time of the frame that is being played: of a period from when the server took it.
    [[nodiscard]] double played(std::uint64_t now) const {
        return static_cast<double>(now) * mSpeed;
    }

private:
    [[nodiscard]] std::uint64_t noticed(std::uint64_t period) const {
        const double taken = static_cast<double>(period * PERIOD_US) / mSpeed;
        return static_cast<std::uint64_t>(taken) + mDelay;
    }

    double mSpeed;
    std::uint64_t mLatest;
    std::uint64_t mNext = 0;  // period that is taken next
    std::uint64_t mDelay = 0;
    plugin::PlaybackPump::Course mCourse;
    std::mt19937 mRandom{1};  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same each time
};

/// How far the clock is behind what is played, in us: the mean of a minute from this time on.
double behind(SinkClock& clock, SteadyServer& server, std::uint64_t from) {
    constexpr std::uint64_t STEP_US = 2000;
    double sum = 0;
    for (std::uint64_t now = from; now < from + MINUTE_US; now += STEP_US) {
        const auto shown = clock.frames(server.courseAt(now), now) * 1'000'000 / RATE;
        sum += server.played(now) - static_cast<double>(shown);
    }
    return sum / static_cast<double>(MINUTE_US / STEP_US);
}

/// Speed of the server and lateness of the pump, in us.
struct Pace {
    double speed;
    std::uint64_t latest;
};

class SinkClockModel : public testing::TestWithParam<Pace> {
protected:
    SinkClock mClock{RATE, PERIOD_US};
    SteadyServer mServer{GetParam().speed, GetParam().latest};
};

/// Sound cards run a little fast or slow; a pump looks every few milliseconds.
INSTANTIATE_TEST_SUITE_P(Paces, SinkClockModel,
                         testing::Values(Pace{1.0, 0}, Pace{1.0, 8000}, Pace{1.0002, 2000},
                                         Pace{1.0002, 8000}, Pace{0.9998, 2000},
                                         Pace{0.9998, 8000}));

}  // namespace

TEST_P(SinkClockModel, StaysWithTheServerForHours) {
    const double first = behind(mClock, mServer, 0);
    for (std::uint64_t minute = 1; minute < 120; ++minute)
        // Less than a millisecond in two hours, and so in each of the minutes.
        ASSERT_LT(std::abs(behind(mClock, mServer, minute * MINUTE_US) - first), 1000);
}

TEST_P(SinkClockModel, RunsOnBetweenTheServersPeriodsAndNeverBack) {
    std::uint64_t before = 0;
    double most = 0;
    for (std::uint64_t now = 0; now < MINUTE_US; now += 1000) {
        const std::uint64_t shown = mClock.frames(mServer.courseAt(now), now);
        ASSERT_GE(shown, before);
        // It begins where the first period tells.
        if (now > 1'000'000)
            most = std::max(most, static_cast<double>(shown - before) / RATE * 1e6);
        before = shown;
    }
    // It waits for a period that is noticed late, and makes up for it then. Steps of the server are
    // 16 ms.
    EXPECT_LT(most, static_cast<double>(GetParam().latest) + 2000);
}

}  // namespace cabinaudio::test
