// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"
#include "devkit/server/streams/CaptureRegistry.h"

#include <cstdint>

namespace cabinaudio::server {

/// Drives recording. At a steady pace each capture stream gets one period per tick, whether there
/// is room or not. At the fast pace each ring is filled whenever its client has read, and also
/// checked at each tick, because some ways of reading do not notify the server.
class CaptureClock {
public:
    enum class Pace { Steady, Fast };

    CaptureClock(EventLoop& loop, CaptureRegistry& captures, Pace pace);

    /// Call after streams were added, removed, started, stopped or read from.
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
