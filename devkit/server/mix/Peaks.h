// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <span>

namespace cabinaudio::server {

/// Raises `peaks` to the highest amplitude of each channel.
/// @param samples  whole frames of as many channels as there are peaks
inline void raisePeaks(std::span<const float> samples, std::span<float> peaks) {
    // Lanes that do not depend on each other become vector instructions. A lane always meets the
    // same channel, because their number is a multiple of the channels.
    constexpr std::size_t LANES = 8;
    std::size_t done = 0;
    if (LANES % peaks.size() == 0) {
        std::array<float, LANES> lanes{};
        for (; done + LANES <= samples.size(); done += LANES) {
            for (std::size_t lane = 0; lane < LANES; ++lane)
                lanes[lane] = std::max(lanes[lane], std::fabs(samples[done + lane]));
        }
        for (std::size_t lane = 0; lane < LANES; ++lane)
            peaks[lane % peaks.size()] = std::max(peaks[lane % peaks.size()], lanes[lane]);
    }
    for (std::size_t channel = 0; done < samples.size(); ++done) {
        peaks[channel] = std::max(peaks[channel], std::fabs(samples[done]));
        if (++channel == peaks.size()) channel = 0;
    }
}

}  // namespace cabinaudio::server
