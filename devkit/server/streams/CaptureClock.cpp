// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/streams/CaptureClock.h"

#include "devkit/server/base/Period.h"

#include <algorithm>

namespace cabinaudio::server {

CaptureClock::CaptureClock(EventLoop& loop, CaptureRegistry& captures, Pace pace)
    : mLoop(loop),
      mCaptures(captures),
      mPace(pace),
      mClock(loop, [this](std::uint64_t deadlines) { tick(deadlines); }) {}

void CaptureClock::update() {
    const auto& streams = mCaptures.streams();
    const bool isNeeded = std::any_of(streams.begin(), streams.end(),
                                      [](const auto& stream) { return stream->isFlowing(); });
    if (isNeeded && !mIsRunning) mClock.every(PERIOD);
    if (!isNeeded && mIsRunning) mClock.stop();
    mIsRunning = isNeeded;
    if (isNeeded && mPace == Pace::Fast && !mIsPosted) {
        mIsPosted = true;
        mLoop.post([this] { fillUp(); });
    }
}

void CaptureClock::tick(std::uint64_t deadlines) {
    if (mPace == Pace::Fast) {
        update();
        return;
    }
    for (std::uint64_t i = 0; i < std::min(deadlines, MAXIMUM_CATCH_UP); ++i) {
        for (const auto& stream : mCaptures.streams()) {
            if (stream->isFlowing()) stream->fillPeriod();
        }
    }
}

void CaptureClock::fillUp() {
    mIsPosted = false;
    bool isMore = false;
    for (const auto& stream : mCaptures.streams()) {
        if (stream->isFlowing()) isMore |= stream->fillUp();
    }
    if (isMore) update();  // after other pending events
}

}  // namespace cabinaudio::server
