// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Check.h"

#include <cstddef>

namespace cabinaudio::hear {

/// Tolerance of a level, unless the check names another one.
inline constexpr double LEVEL_TOLERANCE_DB = 0.5;

struct Peak {
    double amplitude = 0;
    std::size_t frame = 0;  // of the first sample with it
};

/// Of all channels of the view.
[[nodiscard]] Peak peakOf(const View& view);

/// Root of the mean square of one channel; 0 for no frames.
[[nodiscard]] double rmsOf(const View& view, unsigned channel);

/// The channel of the view with the highest level; of several, the first one.
[[nodiscard]] unsigned loudestChannel(const View& view);

/// Whether all samples of a frame are below the amplitude.
[[nodiscard]] bool isBelow(const View& view, std::size_t frame, float amplitude);

/// The first frame with a sample of at least this amplitude; view.end if there is none.
[[nodiscard]] std::size_t firstAtLeast(const View& view, double amplitude);

}  // namespace cabinaudio::hear
