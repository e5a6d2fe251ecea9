// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

namespace cabinaudio::bench {

// The sound of all measurements: 16 bits, two channels.
inline constexpr unsigned RATE = 48000;
inline constexpr unsigned CHANNELS = 2;

/// Silence, or a mark at its begin: loud samples that a mixer and its conversions keep.
inline std::vector<std::int16_t> pieceOf(unsigned frames, bool isMarked) {
    constexpr unsigned MARK_FRAMES = 32;
    constexpr std::int16_t LOUD = 20000;
    std::vector<std::int16_t> samples(std::size_t{frames} * CHANNELS);
    for (std::size_t at = 0; isMarked && at < std::size_t{MARK_FRAMES} * CHANNELS; ++at)
        samples[at] = LOUD;
    return samples;
}

/// How a client fills its buffer.
struct Buffer {
    unsigned frames;
    unsigned period;
};

}  // namespace cabinaudio::bench
