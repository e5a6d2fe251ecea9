// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/streams/Mixer.h"

#include "devkit/server/base/Period.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace cabinaudio::server {
namespace {

bool anyActive(const StreamRegistry& streams) {
    return std::any_of(streams.streams().begin(), streams.streams().end(),
                       [](const auto& stream) { return stream->isActive(); });
}

}  // namespace

Mixer::Mixer(StreamRegistry& streams, const Settings& settings, Output& output,
             const OutputFormat& format)
    : mStreams(streams),
      mSettings(settings),
      mOutput(output),
      mFormat(format),
      mLargest(largest(format.type)),
      mDucking(format.rate),
      mLoudspeakers(format.rate, format.channels) {}

bool Mixer::isWanted() const {
    return anyActive(mStreams) || isTested();
}

bool Mixer::isOver() const {
    return mStreams.streams().empty() && !isTested() && heldFrames() == 0;
}

void Mixer::pause() {
    mOutput.pause();
    discardHeld();
}

std::uint64_t Mixer::periodsDue(std::uint64_t deadlines, std::uint64_t most) {
    mCounters.latePeriods += deadlines - 1;
    return mOutput.periodsDue(std::min(deadlines, most));
}

std::size_t Mixer::nextPeriod() const {
    return static_cast<std::size_t>(framesOfPeriods(mFormat.rate, mCounters.periods + 1) -
                                    framesOfPeriods(mFormat.rate, mCounters.periods));
}

void Mixer::mix(std::size_t frames, bool endsPeriod) {
    const auto begin = LoadMeter::Clock::now();
    mEndsPeriod = endsPeriod;
    addStreams(frames, true);
    handOver(frames);
    mLoad.add(begin, LoadMeter::Clock::now());
}

std::size_t Mixer::mixRound() {
    const auto begin = LoadMeter::Clock::now();
    mEndsPeriod = true;
    const std::size_t frames = mixData();
    mLoad.add(begin, LoadMeter::Clock::now());
    return frames;
}

/// @return the frames of a round
std::size_t Mixer::mixData() {
    const std::size_t period = framesOfPeriod(mFormat.rate);
    const std::size_t frames = std::max(addStreams(period, false), remainingFrames(period));
    handOver(frames);
    return frames;
}

/// @return the largest number of frames that a stream has added
std::size_t Mixer::addStreams(std::size_t frames, bool isSteady) {
    mMix.assign(frames * mFormat.channels, 0.0F);
    if (mAreSettingsDue) applySettings();
    std::size_t longest = 0;
    const PlaybackStream* prompt = nullptr;
    for (PlaybackStream* const stream : mOrder) {
        const std::size_t added = stream->addTo(mMix, mCounters.frames, isSteady);
        longest = std::max(longest, added);
        if (added > 0 && isPrompt(stream->record()) && !stream->isSilenced()) prompt = stream;
    }
    hear(prompt, isSteady ? frames : longest);
    return longest;
}

/// Decides about ducking at the end of the period.
/// @param prompt  a prompt in the last frames, or null
void Mixer::hear(const PlaybackStream* prompt, std::size_t frames) {
    if (prompt != nullptr) mPeriodPrompt = prompt->record().name;
    mPeriodFrames += frames;
    if (!mEndsPeriod) return;
    duck(std::exchange(mPeriodPrompt, std::nullopt), std::exchange(mPeriodFrames, 0));
}

/// @param prompt  name of a prompt in the last frames, if there was one
void Mixer::duck(const std::optional<std::string>& prompt, std::size_t frames) {
    if (mDucking.mixed(prompt.has_value(), frames)) mAreSettingsDue = true;
    if (prompt)
        mPrompt = *prompt;
    else if (!mDucking.isPromptHeard())
        mPrompt.clear();
}

void Mixer::applySettings() {
    mAreSettingsDue = false;
    sortStreams();
    const RampFrames ramp = rampOf(*mSettings, mFormat.rate);
    for (const auto& stream : mStreams.streams())
        stream->setGains(gainsOf(stream->record(), *mSettings, mDucking.isPromptHeard()), ramp);
    mLoudspeakers.set(*mSettings);
    const float ducked = duckingOf(mSettings->volume, mDucking.isPromptHeard());
    if (std::exchange(mDuckedBy, ducked) != ducked) mOnDucked(ducked, mPrompt);
}

/// Streams of one tag and name stay in the order of their creation.
void Mixer::sortStreams() {
    mOrder.clear();
    for (const auto& stream : mStreams.streams())
        mOrder.push_back(stream.get());
    std::stable_sort(mOrder.begin(), mOrder.end(), [](const auto* left, const auto* right) {
        return std::tie(left->record().tag, left->record().name) <
               std::tie(right->record().tag, right->record().name);
    });
}

/// Without streams, only the delays still hold sound.
std::size_t Mixer::remainingFrames(std::size_t most) const {
    return mStreams.streams().empty() ? std::min(most, mLoudspeakers.heldFrames()) : 0;
}

void Mixer::discardHeld() {
    mLoudspeakers.clear();
    mDucking.reset();
    mPrompt.clear();
    mPeriodPrompt.reset();
    mPeriodFrames = 0;
}

void Mixer::handOver(std::size_t frames) {
    const auto mix = std::span(mMix).first(frames * mFormat.channels);
    mLoudspeakers.process(mix);
    if (frames > 0) {
        mCounters.clippedSamples +=
            static_cast<std::uint64_t>(std::count_if(mix.begin(), mix.end(), [this](float sample) {
                return sample > mLargest || sample < -1.0F;
            }));
        mOutput.write(mix);
        mOnMixed(mix);
        ++mCounters.periods;
        mCounters.frames += frames;
    }
    for (const auto& stream : mStreams.streams())
        stream->played();
}

}  // namespace cabinaudio::server
