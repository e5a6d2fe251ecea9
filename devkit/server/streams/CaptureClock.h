// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"
#include "devkit/server/streams/CaptureRegistry.h"

#include <cstdint>

namespace cabinaudio::server {

/// Has the capture streams recorded. At a steady pace each gets a period at every tick, whether
/// there is room or not. At the fast pace each is filled whenever its client has read, and looked
/// at in every tick, because not every way of reading is told.
class CaptureClock {
public:
    enum class Pace { Steady, Fast };

    CaptureClock(EventLoop& loop, CaptureRegistry& captures, Pace pace);

    /// Streams were added, removed, started, stopped or read from.
    void update();

private:
    void tick(std::uint64_t deadlines);
    void fillUp();

    EventLoop& mLoop;
    CaptureRegistry& mCaptures;
    Pace mPace;
    Timer mClock;
    bool mIsRunning = false;
    bool mIsPosted = false;
};

}  // namespace cabinaudio::server
