// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"
#include "devkit/server/streams/CaptureClock.h"
#include "devkit/server/streams/Mixer.h"
#include "devkit/server/time/TimeLine.h"

#include <cstdint>

namespace cabinaudio::server {

/// One period is mixed per tick of the clock, from the first start of a stream until no stream
/// exists and the last sound has left the loudspeaker delays, and during loudspeaker tests.
class RealTime : public TimeLine {
public:
    RealTime(EventLoop& loop, Mixer& mixer, CaptureRegistry& captures);

    void update() override;
    [[nodiscard]] nlohmann::json describe() const override;

private:
    void updateClock();
    void tick(std::uint64_t deadlines);

    Mixer& mMixer;
    Timer mClock;
    bool mIsRunning = false;  // the clock
    CaptureClock mCaptureClock;
};

}  // namespace cabinaudio::server
