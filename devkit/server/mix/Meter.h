// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/mix/Spectrum.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace cabinaudio::server {

/// Level of the mix as amplitude: a full-scale square wave has 1, a full-scale sine 0.707.
struct Levels {
    std::array<float, 4> rms{};    // LF, RF, LS, RS; 0 for a loudspeaker that the output lacks
    std::array<float, 4> bands{};  // see Meter::EDGES; from these loudspeakers' mean power
};

/// Measures the last tenth of a second of the mix. The mixing thread only stores samples; the
/// measurement is made on request.
class Meter {
public:
    /// Limits between the bands, in Hz.
    static constexpr std::array EDGES = {250.0F, 1000.0F, 4000.0F};

    Meter(std::uint32_t rate, unsigned channels);

    /// @param mix  whole frames
    void add(std::span<const float> mix);
    /// The sound has ended.
    void clear();
    /// A mono output counts as both front loudspeakers.
    [[nodiscard]] Levels levels();
    /// The loudspeakers' levels alone. A mono output counts as both front loudspeakers.
    [[nodiscard]] std::array<float, 4> rms() const;

    struct Band {
        unsigned hz;  // nominal centre
        float level;  // from the mean power of the measured loudspeakers
    };
    /// Thirds of an octave from 50 Hz to 16 kHz.
    [[nodiscard]] std::vector<Band> thirds();

private:
    [[nodiscard]] float levelOf(float power) const;
    /// @param powers  one more than edges
    void addBands(std::size_t channel, std::span<const float> edges, std::span<float> powers);

    std::uint32_t mRate;
    std::size_t mChannels;
    std::size_t mLoudspeakers;  // number of measured loudspeakers
    Spectrum mSpectrum;
    std::vector<std::vector<float>> mRecent;  // one ring buffer for each of them
    std::size_t mPosition = 0;                // of the oldest frame in mRecent
};

}  // namespace cabinaudio::server
