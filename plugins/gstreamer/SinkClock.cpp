// SPDX-License-Identifier: Apache-2.0
#include "plugins/gstreamer/SinkClock.h"

#include <algorithm>

namespace cabinaudio::gstreamer {

namespace {

using plugin::PumpState;

constexpr std::int64_t SECOND_US = 1'000'000;
/// A step is noticed late, never early. So the earliest steps are the true ones, and a later one
/// moves the clock by this part of its delay only.
constexpr std::int64_t SLOWNESS = 16;

/// A lost stream must not stop those who wait for its clock.
bool isMoving(PumpState state) {
    return state != PumpState::Stopped && state != PumpState::Paused;
}

}  // namespace

std::uint64_t SinkClock::frames(const plugin::PlaybackPump::Course& course, std::uint64_t now) {
    const auto time = static_cast<std::int64_t>(now);
    const auto period = static_cast<std::int64_t>(mPeriod);
    const bool isRunning = isMoving(course.state);
    if (isRunning && !mWasMoving) {
        mBegin = time - mShown;
        mIsExact = false;
    }
    mWasMoving = isRunning;
    if (course.position != mPosition && !course.isDry)
        follow(static_cast<std::int64_t>(course.time) + period - lengthOf(course.position));
    mPosition = course.position;
    if (isRunning) {
        const std::int64_t taken = lengthOf(course.position);
        const bool isEndless = course.isDry || course.state == PumpState::Lost;
        const std::int64_t played = isEndless ? time - mBegin : std::min(time - mBegin, taken);
        mShown = std::max({mShown, played, taken - period});
    }
    return static_cast<std::uint64_t>(mShown) * mRate / SECOND_US;
}

void SinkClock::follow(std::int64_t begin) {
    const std::int64_t late = begin - mBegin;
    // The first step after a start, or after the server stood still.
    if (!mIsExact || late < 0 || late > static_cast<std::int64_t>(mPeriod))
        mBegin = begin;
    else
        mBegin += late / SLOWNESS;
    mIsExact = true;
}

void SinkClock::forget(std::uint64_t silentFrames) {
    const std::int64_t length = lengthOf(silentFrames);
    mShown -= std::min(length, mShown);
    mBegin += length;
}

std::int64_t SinkClock::lengthOf(std::uint64_t frames) const {
    return static_cast<std::int64_t>(frames * SECOND_US / mRate);
}

}  // namespace cabinaudio::gstreamer
