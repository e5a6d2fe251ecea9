// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/time/RealTime.h"

#include "devkit/server/base/Period.h"
#include "devkit/server/time/Description.h"

#include <nlohmann/json.hpp>

namespace cabinaudio::server {

RealTime::RealTime(EventLoop& loop, Mixer& mixer, CaptureRegistry& captures)
    : mMixer(mixer),
      mClock(loop, [this](std::uint64_t deadlines) { tick(deadlines); }),
      mCaptureClock(loop, captures, CaptureClock::Pace::Steady) {}

void RealTime::update() {
    updateClock();
    mCaptureClock.update();
}

void RealTime::updateClock() {
    if (mIsRunning && mMixer.isOver()) {
        mIsRunning = false;
        mClock.stop();
        mMixer.pause();
    } else if (!mIsRunning && mMixer.isWanted()) {
        mIsRunning = true;
        mClock.every(PERIOD);
    }
}

void RealTime::tick(std::uint64_t deadlines) {
    const auto periods = mMixer.periodsDue(deadlines, MAXIMUM_CATCH_UP);
    for (std::uint64_t i = 0; i < periods; ++i)
        mMixer.mix(mMixer.nextPeriod());
    updateClock();
}

nlohmann::json RealTime::describe() const {
    return describeClock(TimeMode::Real, mIsRunning, mMixer);
}

}  // namespace cabinaudio::server
