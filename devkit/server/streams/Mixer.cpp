// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/streams/Mixer.h"

#include "devkit/server/base/Period.h"

#include <algorithm>

namespace cabinaudio::server {
namespace {

// After a longer pause of the whole machine the rest of the lost time is skipped.
constexpr std::uint64_t MAXIMUM_CATCH_UP = 8;

bool anyActive(const StreamRegistry& streams) {
    return std::any_of(streams.streams().begin(), streams.streams().end(),
                       [](const auto& stream) { return stream->isActive(); });
}

}  // namespace

Mixer::Mixer(EventLoop& loop, StreamRegistry& streams, const Settings& settings, Output& output,
             const OutputFormat& format, Pace pace)
    : mLoop(loop),
      mStreams(streams),
      mSettings(settings),
      mOutput(output),
      mFormat(format),
      mLargest(largest(format.type)),
      mPace(pace),
      mClock(loop, [this](std::uint64_t deadlines) { tick(deadlines); }),
      mDucking(format.rate),
      mLoudspeakers(format.rate, format.channels) {}

void Mixer::update() {
    mAreSettingsDue = true;
    if (mPace == Pace::Steady) {
        updateClock();
    } else if (!mIsPosted) {
        mIsPosted = true;
        mLoop.post([this] { mixRound(); });
    }
}

void Mixer::updateClock() {
    const bool isOver = mStreams.streams().empty() && !isTested();
    if (mIsRunning && isOver && mLoudspeakers.heldFrames() == 0) {
        mIsRunning = false;
        mClock.stop();
        mOutput.pause();
        discardHeld();
    } else if (!mIsRunning && (anyActive(mStreams) || isTested())) {
        mIsRunning = true;
        mClock.every(PERIOD);
    }
}

void Mixer::tick(std::uint64_t deadlines) {
    mCounters.latePeriods += deadlines - 1;
    const auto periods = mOutput.periodsDue(std::min(deadlines, MAXIMUM_CATCH_UP));
    for (std::uint64_t i = 0; i < periods; ++i)
        mixPeriod();
    updateClock();
}

void Mixer::mixPeriod() {
    const auto begin = LoadMeter::Clock::now();
    const auto frames =
        static_cast<std::size_t>(framesOfPeriods(mFormat.rate, mCounters.periods + 1) -
                                 framesOfPeriods(mFormat.rate, mCounters.periods));
    addStreams(frames, true);
    handOver(frames);
    mLoad.add(begin, LoadMeter::Clock::now());
}

void Mixer::mixRound() {
    mIsPosted = false;
    const auto begin = LoadMeter::Clock::now();
    const std::size_t frames = mixData();
    mLoad.add(begin, LoadMeter::Clock::now());
    if (frames > 0) {
        update();  // after other pending events
    } else if (mStreams.streams().empty()) {
        discardHeld();
    }
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
    for (const auto& stream : mStreams.streams()) {
        const std::size_t added = stream->addTo(mMix, mCounters.frames, isSteady);
        longest = std::max(longest, added);
        if (added > 0 && isPrompt(stream->record()) && !stream->isSilenced()) prompt = stream.get();
    }
    duck(prompt, isSteady ? frames : longest);
    return longest;
}

/// @param prompt  a prompt in the last frames, or null
void Mixer::duck(const PlaybackStream* prompt, std::size_t frames) {
    if (mDucking.mixed(prompt != nullptr, frames)) mAreSettingsDue = true;
    if (prompt != nullptr)
        mPrompt = prompt->record().name;
    else if (!mDucking.isPromptHeard())
        mPrompt.clear();
}

void Mixer::applySettings() {
    mAreSettingsDue = false;
    const RampFrames ramp = rampOf(*mSettings, mFormat.rate);
    for (const auto& stream : mStreams.streams())
        stream->setGains(gainsOf(stream->record(), *mSettings, mDucking.isPromptHeard()), ramp);
    mLoudspeakers.set(*mSettings);
}

/// Without streams, only the delays still hold sound.
std::size_t Mixer::remainingFrames(std::size_t most) const {
    return mStreams.streams().empty() ? std::min(most, mLoudspeakers.heldFrames()) : 0;
}

/// Drops all sound that is still held.
void Mixer::discardHeld() {
    mLoudspeakers.clear();
    mDucking.reset();
    mPrompt.clear();
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
