// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/mix/LoudspeakerPath.h"

#include "devkit/server/mix/Loudspeaker.h"
#include "devkit/server/mix/Peaks.h"

#include <algorithm>

namespace cabinaudio::server {
namespace {

constexpr std::uint64_t LONGEST_DELAY_US = 1'000'000;

std::size_t framesOf(std::uint64_t us, std::uint32_t rate) {
    return static_cast<std::size_t>((std::min(us, LONGEST_DELAY_US) * rate + 500'000) / 1'000'000);
}

}  // namespace

LoudspeakerPath::LoudspeakerPath(std::uint32_t rate, unsigned channels)
    : mRate(rate),
      mTest(rate, channels),
      mDelays(channels, DelayLine(framesOf(LONGEST_DELAY_US, rate))),
      mSilentFrames(framesOf(LONGEST_DELAY_US, rate)),
      mMeter(rate, channels),
      mPeaks(channels, PeakWindow(rate)),
      mNewest(channels) {}

void LoudspeakerPath::set(const SettingsData& settings) {
    mTest.set(settings.source);
    mLongestDelay = 0;
    for (std::size_t i = 0; i < std::min(mDelays.size(), LOUDSPEAKERS); ++i) {
        const std::uint32_t us = settings.app.isBypassed ? 0 : settings.app.speakerDelaysUs[i];
        mDelays[i].set(framesOf(us, mRate));
        mLongestDelay = std::max(mLongestDelay, mDelays[i].delay());
    }
}

void LoudspeakerPath::process(std::span<float> mix) {
    mTest.addTo(mix);
    delay(mix);
    mMeter.add(mix);
    measure(mix);
}

void LoudspeakerPath::clear() {
    for (DelayLine& line : mDelays)
        line.clear();
    mSilentFrames = framesOf(LONGEST_DELAY_US, mRate);
    mMeter.clear();
    for (PeakWindow& window : mPeaks)
        window.clear();
}

std::size_t LoudspeakerPath::heldFrames() const {
    return mLongestDelay - std::min(mSilentFrames, mLongestDelay);
}

std::vector<float> LoudspeakerPath::peaks() const {
    std::vector<float> peaks(mPeaks.size());
    std::transform(mPeaks.begin(), mPeaks.end(), peaks.begin(),
                   [this](const PeakWindow& window) { return window.peak(mFrames); });
    return peaks;
}

void LoudspeakerPath::measure(std::span<const float> mix) {
    std::fill(mNewest.begin(), mNewest.end(), 0.0F);
    raisePeaks(mix, mNewest);
    for (std::size_t channel = 0; channel < mPeaks.size(); ++channel)
        mPeaks[channel].add(mFrames, mNewest[channel]);
    mFrames += mix.size() / mPeaks.size();
}

void LoudspeakerPath::delay(std::span<float> mix) {
    const std::size_t channels = mDelays.size();
    const bool isSilent =
        std::all_of(mix.begin(), mix.end(), [](float sample) { return sample == 0.0F; });
    mSilentFrames = isSilent ? mSilentFrames + mix.size() / channels : 0;
    for (std::size_t i = 0; i < mix.size(); i += channels) {
        for (std::size_t channel = 0; channel < channels; ++channel)
            mix[i + channel] = mDelays[channel].next(mix[i + channel]);
    }
}

}  // namespace cabinaudio::server
