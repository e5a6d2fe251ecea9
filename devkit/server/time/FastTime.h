// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/streams/CaptureClock.h"
#include "devkit/server/streams/Mixer.h"
#include "devkit/server/time/TimeLine.h"

namespace cabinaudio::server {

/// A round is mixed whenever there is data. It is as long as the longest stream data, at most a
/// period, so no data waits and none is missing.
class FastTime : public TimeLine {
public:
    FastTime(EventLoop& loop, Mixer& mixer, const StreamRegistry& streams,
             CaptureRegistry& captures);

    void update() override;
    [[nodiscard]] nlohmann::json describe() const override;

private:
    void post();
    void mixRound();

    EventLoop& mLoop;
    Mixer& mMixer;
    const StreamRegistry& mStreams;
    bool mIsPosted = false;  // a round is pending
    CaptureClock mCaptureClock;
};

}  // namespace cabinaudio::server
