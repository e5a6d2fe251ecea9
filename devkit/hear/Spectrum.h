// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Check.h"

#include <cstddef>
#include <vector>

namespace cabinaudio::hear {

/// Mean power spectrum of a part of one channel, under a Hann window.
struct Spectrum {
    double binHz = 0;
    /// From 0 Hz to half the rate. The powers of the bins of a line add up to the line's mean
    /// square.
    std::vector<double> power;
};

/// Longest piece that is transformed at once; longer sounds are averaged in overlapping pieces.
inline constexpr std::size_t LONGEST_PIECE = 16384;

/// @param view  of at least one frame
[[nodiscard]] Spectrum spectrumOf(const View& view, unsigned channel,
                                  std::size_t piece = LONGEST_PIECE);

/// A spectrum's strongest line, and everything else.
struct Line {
    double hz = 0;
    double rms = 0;      // of the line
    double restRms = 0;  // of all other bins
};

[[nodiscard]] Line strongestLine(const Spectrum& spectrum);

}  // namespace cabinaudio::hear
