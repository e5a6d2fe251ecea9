// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/time/FastTime.h"

#include "devkit/server/time/Description.h"

#include <nlohmann/json.hpp>

namespace cabinaudio::server {

FastTime::FastTime(EventLoop& loop, Mixer& mixer, const StreamRegistry& streams,
                   CaptureRegistry& captures)
    : mLoop(loop),
      mMixer(mixer),
      mStreams(streams),
      mCaptureClock(loop, captures, CaptureClock::Pace::Fast) {}

void FastTime::update() {
    post();
    mCaptureClock.update();
}

void FastTime::post() {
    if (mIsPosted) return;
    mIsPosted = true;
    mLoop.post([this] { mixRound(); });
}

void FastTime::mixRound() {
    mIsPosted = false;
    if (mMixer.mixRound() > 0)
        post();  // after other pending events
    else if (mStreams.streams().empty())
        mMixer.discardHeld();
}

nlohmann::json FastTime::describe() const {
    return describeClock(TimeMode::Fast, mIsPosted, mMixer);
}

}  // namespace cabinaudio::server
