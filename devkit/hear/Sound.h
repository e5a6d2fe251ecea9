// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace cabinaudio::hear {

/// A sound in memory. Full scale is -1 to 1; samples of a float file may be beyond, and not
/// numbers.
struct Sound {
    unsigned rate = 0;           // Hz
    unsigned channels = 0;       // in the order LF, RF, LS, RS, CF, L1 of the loudspeakers
    std::vector<float> samples;  // interleaved
    unsigned bits = 0;           // of linear PCM; 0 for other encodings, and where unknown

    [[nodiscard]] std::size_t frames() const {
        return channels == 0 ? 0 : samples.size() / channels;
    }
};

/// Reads a whole file of any format that libsndfile supports. A float holds samples of up to 24
/// bits exactly; those of 32 bits are rounded.
/// @throws Error with the path and the reason
[[nodiscard]] Sound readSound(const std::string& path);

/// The sound at another rate, by libsamplerate's best converter, and with bits 0.
/// @throws Error
[[nodiscard]] Sound atRate(const Sound& sound, unsigned rate);

}  // namespace cabinaudio::hear
