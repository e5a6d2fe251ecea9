// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/mix/SpeakerTest.h"

#include "devkit/server/mix/Loudspeaker.h"

#include <cmath>
#include <numbers>

namespace cabinaudio::server {
namespace {

constexpr std::uint32_t NOISE = 1;
constexpr std::uint32_t USUAL_FREQUENCY = 1000;
constexpr double AMPLITUDE = 0.1;

}  // namespace

void SpeakerTest::set(const SourceSettings& source) {
    const SourceSettings::Test& test = source.test;
    mLoudspeakers = test.channels & source.speakers;
    mIsNoise = test.pattern == NOISE;
    mStep = static_cast<double>(test.frequency != 0 ? test.frequency : USUAL_FREQUENCY) / mRate;
    if (mLoudspeakers == 0) mPhase = 0.0;
}

void SpeakerTest::addTo(std::span<float> mix) {
    const bool isPossible = mIsNoise || mStep < 0.5;  // a tone above half the rate would alias
    if (mLoudspeakers == 0 || !isPossible) return;
    for (std::size_t i = 0; i < mix.size(); i += mChannels) {
        const float sample = nextSample();
        for (std::size_t channel = 0; channel < mChannels; ++channel) {
            if ((mLoudspeakers & maskOf(channel, mChannels)) != 0) mix[i + channel] += sample;
        }
    }
}

float SpeakerTest::nextSample() {
    if (mIsNoise) {
        const auto peak = static_cast<float>(AMPLITUDE * std::sqrt(1.5));  // same power as the sine
        return std::uniform_real_distribution<float>(-peak, peak)(mRandom);
    }
    const double sample = AMPLITUDE * std::sin(2 * std::numbers::pi * mPhase);
    mPhase += mStep;
    mPhase -= std::floor(mPhase);
    return static_cast<float>(sample);
}

}  // namespace cabinaudio::server
