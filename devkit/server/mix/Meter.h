// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/mix/Spectrum.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace cabinaudio::server {

/// How loud the mix is, as amplitudes: 1 is a square wave of full scale, a sine of full scale has
/// 0.707.
struct Levels {
    std::array<float, 4> rms{};    // LF, RF, LS, RS; 0 for one that the output lacks
    std::array<float, 4> bands{};  // see Meter::EDGES; of these loudspeakers' mean power
};

/// Measures the end of the mix, about a tenth of a second. Whoever asks pays for the measurement;
/// the mix itself is only remembered.
class Meter {
public:
    /// Between the bands, in Hz.
    static constexpr std::array EDGES = {250.0F, 1000.0F, 4000.0F};

    Meter(std::uint32_t rate, unsigned channels);

    /// @param mix  whole frames
    void add(std::span<const float> mix);
    /// There is no sound any more.
    void clear();
    /// A mono output is both front loudspeakers.
    [[nodiscard]] Levels levels();

private:
    void addBands(std::size_t channel, std::array<float, 4>& powers);

    std::uint32_t mRate;
    std::size_t mChannels;
    std::size_t mLoudspeakers;  // measured ones
    Spectrum mSpectrum;
    std::vector<std::vector<float>> mRecent;  // of each of these, a ring
    std::size_t mPosition = 0;                // of the oldest frame
};

}  // namespace cabinaudio::server
