// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/settings/SourceSettings.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>

namespace cabinaudio::server {

/// Test tone or noise on selected loudspeakers, with the level of a sine 20 dB below full scale.
class SpeakerTest {
public:
    SpeakerTest(std::uint32_t rate, unsigned channels) : mRate(rate), mChannels(channels) {}

    void set(const SourceSettings& source);
    void addTo(std::span<float> mix);

private:
    float nextSample();

    std::uint32_t mRate;
    std::size_t mChannels;
    std::uint32_t mLoudspeakers = 0;  // mask
    bool mIsNoise = false;
    double mStep = 0.0;   // of the tone, in turns per frame
    double mPhase = 0.0;  // in turns
    std::minstd_rand mRandom;
};

}  // namespace cabinaudio::server
