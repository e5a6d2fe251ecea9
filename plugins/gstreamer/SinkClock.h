// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plugins/common/PlaybackPump.h"

#include <cstdint>

namespace cabinaudio::gstreamer {

/// Makes a steady clock of a position that moves in steps of the server's period, and is noticed
/// some time after each step. The clock shows the frame that is being played: a period that the
/// server has just taken is played from then on. A stream that runs without sound is silent; the
/// clock runs on. Not thread-safe.
class SinkClock {
public:
    /// @param period  of the server in us
    SinkClock(unsigned rate, std::uint64_t period) : mRate(rate), mPeriod(period) {}

    /// Frames that have been played at this time. Never falls.
    [[nodiscard]] std::uint64_t frames(const plugin::PlaybackPump::Course& course,
                                       std::uint64_t now);
    /// The position begins at 0 again.
    void restart() { *this = SinkClock(mRate, mPeriod); }
    /// Takes silence that was played after the end of the sound out of the count.
    void forget(std::uint64_t silentFrames);

private:
    void follow(std::int64_t begin);
    [[nodiscard]] std::int64_t lengthOf(std::uint64_t frames) const;

    unsigned mRate;
    std::uint64_t mPeriod;
    std::uint64_t mPosition = 0;  // at the last call
    bool mWasMoving = false;
    bool mIsExact = false;    // a step has been seen since the start
    std::int64_t mBegin = 0;  // us, when frame 0 was played if all were played without a pause
    std::int64_t mShown = 0;  // us
};

}  // namespace cabinaudio::gstreamer
