// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>

namespace cabinaudio::gstreamer {

/// Timestamps of frames that follow each other without a gap but arrive in bursts: the server moves
/// whole periods. Each begins where its predecessor ends, and the sequence follows the clock: after
/// a gap it jumps forward, and a sequence that runs ahead is slowed. It never goes back. Not
/// thread-safe; times in ns.
class UplinkSourceTiming {
public:
    struct Stamp {
        std::uint64_t time = 0;
        bool isDiscontinuous = false;
    };

    /// The next frame begins a new sequence.
    void restart() { mIsRunning = false; }

    /// @param now  running time at which a frame of this duration is complete
    Stamp next(std::uint64_t now, std::uint64_t duration) {
        const std::uint64_t begin = now - std::min(now, duration);
        const bool isFirst = !mIsRunning;
        const bool isGap = begin > mNext && begin - mNext > GAP;
        if (isFirst || isGap)
            mNext = std::max(mNext, begin);
        else if (mNext > begin && mNext - begin > AHEAD)
            mNext -= duration / SLOWING;
        mIsRunning = true;
        const Stamp stamp = {mNext, isFirst || isGap};
        mNext += duration;
        return stamp;
    }

private:
    /// A ring of 8 periods holds what a late thread has not read.
    static constexpr std::uint64_t GAP = 200'000'000;
    static constexpr std::uint64_t AHEAD = 40'000'000;
    static constexpr std::uint64_t SLOWING = 4;

    bool mIsRunning = false;
    std::uint64_t mNext = 0;
};

}  // namespace cabinaudio::gstreamer
