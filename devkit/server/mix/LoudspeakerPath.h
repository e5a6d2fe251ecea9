// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/mix/DelayLine.h"
#include "devkit/server/mix/Meter.h"
#include "devkit/server/mix/PeakWindow.h"
#include "devkit/server/mix/SpeakerTest.h"
#include "devkit/server/settings/Settings.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace cabinaudio::server {

/// Path of the sum to the loudspeakers.
///
///     sum -> speaker test -> delays -> meter, peaks
class LoudspeakerPath {
public:
    LoudspeakerPath(std::uint32_t rate, unsigned channels);

    void set(const SettingsData& settings);
    /// @param mix  whole frames
    void process(std::span<float> mix);
    /// The sound pauses: drops what the delays hold.
    void clear();

    /// Frames of sound that the delays still hold.
    [[nodiscard]] std::size_t heldFrames() const;
    [[nodiscard]] Meter& meter() { return mMeter; }
    /// Highest amplitude of each channel in the last tenth of a second.
    [[nodiscard]] std::vector<float> peaks() const;

private:
    void delay(std::span<float> mix);
    void measure(std::span<const float> mix);

    std::uint32_t mRate;
    SpeakerTest mTest;
    std::vector<DelayLine> mDelays;  // one for each channel
    std::size_t mLongestDelay = 0;   // frames
    std::size_t mSilentFrames;       // since sound came in
    Meter mMeter;
    std::vector<PeakWindow> mPeaks;  // one for each channel
    std::vector<float> mNewest;      // peaks of the last frames
    std::uint64_t mFrames = 0;       // processed so far
};

}  // namespace cabinaudio::server
