// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/mix/Meter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>

namespace cabinaudio::server {
namespace {

constexpr std::array THIRDS = {50U,   63U,   80U,   100U,  125U,  160U,   200U,   250U,  315U,
                               400U,  500U,  630U,  800U,  1000U, 1250U,  1600U,  2000U, 2500U,
                               3150U, 4000U, 5000U, 6300U, 8000U, 10000U, 12500U, 16000U};

/// Between the bands, and at both ends. The exact centres are powers of 2 times 1 kHz.
const std::vector<float>& thirdEdges() {
    static const std::vector<float> edges = [] {
        constexpr int THIRD_OF_1_KHZ = 13;
        std::vector<float> all;
        for (int i = 0; i <= static_cast<int>(THIRDS.size()); ++i)
            all.push_back(1000.0F *
                          std::exp2(static_cast<float>(2 * (i - THIRD_OF_1_KHZ) - 1) / 6.0F));
        return all;
    }();
    return edges;
}

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

std::array<float, 4> Meter::rms() const {
    std::array<float, 4> rms{};
    for (std::size_t channel = 0; channel < mLoudspeakers; ++channel) {
        const std::vector<float>& samples = mRecent[channel];
        const double sum = std::inner_product(samples.begin(), samples.end(), samples.begin(), 0.0);
        rms[channel] = static_cast<float>(std::sqrt(sum / static_cast<double>(samples.size())));
    }
    if (mLoudspeakers == 1) rms[1] = rms[0];
    return rms;
}

Levels Meter::levels() {
    Levels levels;
    levels.rms = rms();
    std::array<float, 4> powers{};
    for (std::size_t channel = 0; channel < mLoudspeakers; ++channel)
        addBands(channel, EDGES, powers);
    std::transform(powers.begin(), powers.end(), levels.bands.begin(),
                   [this](float power) { return levelOf(power); });
    return levels;
}

std::vector<Meter::Band> Meter::thirds() {
    std::vector<float> powers(THIRDS.size() + 2);  // and below the first, and above the last
    for (std::size_t channel = 0; channel < mLoudspeakers; ++channel)
        addBands(channel, thirdEdges(), powers);
    std::vector<Band> bands;
    for (std::size_t i = 0; i < THIRDS.size(); ++i)
        bands.push_back({THIRDS[i], levelOf(powers[i + 1])});
    return bands;
}

float Meter::levelOf(float power) const {
    return std::sqrt(power / static_cast<float>(mLoudspeakers));
}

void Meter::addBands(std::size_t channel, std::span<const float> edges, std::span<float> powers) {
    const std::vector<float>& samples = mRecent[channel];
    std::vector<float> ordered(samples.size());
    std::rotate_copy(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(mPosition),
                     samples.end(), ordered.begin());
    const auto bins = mSpectrum.powersOf(ordered);
    const float step = static_cast<float>(mRate) / static_cast<float>(mSpectrum.size());
    for (std::size_t i = 0; i < bins.size(); ++i) {
        const float frequency = static_cast<float>(i) * step;
        const auto band = std::upper_bound(edges.begin(), edges.end(), frequency) - edges.begin();
        powers[static_cast<std::size_t>(band)] += bins[i];
    }
}

}  // namespace cabinaudio::server
