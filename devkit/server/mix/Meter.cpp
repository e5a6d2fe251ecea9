// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/mix/Meter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>

namespace cabinaudio::server {
namespace {

/// Long enough for the lowest tones, short enough to follow level changes; a power of two.
std::size_t framesOfWindow(std::uint32_t rate) {
    return std::bit_ceil(std::size_t{rate} / 15);
}

}  // namespace

Meter::Meter(std::uint32_t rate, unsigned channels)
    : mRate(rate),
      mChannels(channels),
      mLoudspeakers(std::min(mChannels, Levels().rms.size())),
      mSpectrum(framesOfWindow(rate)),
      mRecent(mLoudspeakers, std::vector<float>(mSpectrum.size())) {}

void Meter::add(std::span<const float> mix) {
    for (std::size_t i = 0; i < mix.size(); i += mChannels) {
        for (std::size_t channel = 0; channel < mLoudspeakers; ++channel)
            mRecent[channel][mPosition] = mix[i + channel];
        mPosition = (mPosition + 1) % mSpectrum.size();
    }
}

void Meter::clear() {
    for (std::vector<float>& samples : mRecent)
        std::fill(samples.begin(), samples.end(), 0.0F);
}

Levels Meter::levels() {
    Levels levels;
    std::array<float, 4> powers{};
    for (std::size_t channel = 0; channel < mLoudspeakers; ++channel) {
        const std::vector<float>& samples = mRecent[channel];
        const double sum = std::inner_product(samples.begin(), samples.end(), samples.begin(), 0.0);
        levels.rms[channel] =
            static_cast<float>(std::sqrt(sum / static_cast<double>(samples.size())));
        addBands(channel, powers);
    }
    if (mLoudspeakers == 1) levels.rms[1] = levels.rms[0];
    std::transform(powers.begin(), powers.end(), levels.bands.begin(), [this](float power) {
        return std::sqrt(power / static_cast<float>(mLoudspeakers));
    });
    return levels;
}

void Meter::addBands(std::size_t channel, std::array<float, 4>& powers) {
    const std::vector<float>& samples = mRecent[channel];
    std::vector<float> ordered(samples.size());
    std::rotate_copy(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(mPosition),
                     samples.end(), ordered.begin());
    const auto bins = mSpectrum.powersOf(ordered);
    const float step = static_cast<float>(mRate) / static_cast<float>(mSpectrum.size());
    for (std::size_t i = 0; i < bins.size(); ++i) {
        const float frequency = static_cast<float>(i) * step;
        const auto band = std::upper_bound(EDGES.begin(), EDGES.end(), frequency) - EDGES.begin();
        powers[static_cast<std::size_t>(band)] += bins[i];
    }
}

}  // namespace cabinaudio::server
