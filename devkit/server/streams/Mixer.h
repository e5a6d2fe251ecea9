// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/mix/Ducking.h"
#include "devkit/server/mix/LoadMeter.h"
#include "devkit/server/mix/LoudspeakerPath.h"
#include "devkit/server/outputs/Output.h"
#include "devkit/server/settings/Settings.h"
#include "devkit/server/streams/StreamRegistry.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::server {

/// Sums the active streams and passes the sum to the output. It has no clock: a TimeLine decides
/// when a period is mixed and how long the period is. Streams are added in the order of tag and
/// name, because sums of floats in another order differ in the last bit.
class Mixer {
public:
    struct Counters {
        std::uint64_t periods = 0;         // handed to the output
        std::uint64_t frames = 0;          // in these periods
        std::uint64_t latePeriods = 0;     // mixed after the deadline of the next one
        std::uint64_t clippedSamples = 0;  // beyond full scale
    };

    Mixer(StreamRegistry& streams, const Settings& settings, Output& output,
          const OutputFormat& format);

    /// Called with the frames that the output has got.
    void setOnMixed(std::function<void(std::span<const float> mix)> onMixed) {
        mOnMixed = std::move(onMixed);
    }

    /// Called when the main audio is ducked by another factor, before the first frame with it.
    /// @param prompt  name of the stream that is heard as a prompt; empty for none
    void setOnDucked(std::function<void(float factor, const std::string& prompt)> onDucked) {
        mOnDucked = std::move(onDucked);
    }

    /// Must be called after streams were added, removed, started or stopped, or settings changed.
    void update() { mAreSettingsDue = true; }

    // ---- For the time line ----------------------------------------------------------------------
    /// Mixes `frames` frames, silent where the streams are.
    /// @param endsPeriod  false for all but the last piece of a period: prompts are looked for over
    ///                    whole periods, so that pieces do not change when ducking begins
    void mix(std::size_t frames, bool endsPeriod = true);
    /// Mixes what the streams have, at most a period. @return its frames
    std::size_t mixRound();
    /// There is no more sound: ends the output's and drops what is held.
    void pause();
    /// Drops all sound that is still held.
    void discardHeld();
    /// Counts periods that were mixed too late. @return the periods to mix now
    std::uint64_t periodsDue(std::uint64_t deadlines, std::uint64_t most);
    /// Frames of the next period, when all periods before were whole.
    [[nodiscard]] std::size_t nextPeriod() const;
    /// Whether there is something to play: a started stream or a loudspeaker test.
    [[nodiscard]] bool isWanted() const;
    /// Whether no stream exists, no loudspeaker is tested and the last sound has left the delays.
    [[nodiscard]] bool isOver() const;
    /// Frames of sound that the loudspeaker delays hold.
    [[nodiscard]] std::size_t heldFrames() const { return mLoudspeakers.heldFrames(); }

    [[nodiscard]] const OutputFormat& format() const { return mFormat; }
    [[nodiscard]] const Counters& counters() const { return mCounters; }
    /// Meter of the audible mix.
    [[nodiscard]] Meter& meter() { return mLoudspeakers.meter(); }
    /// Highest amplitude of each channel of the audible mix in the last tenth of a second.
    [[nodiscard]] std::vector<float> peaks() const { return mLoudspeakers.peaks(); }
    /// Name of the stream that is heard as a prompt; empty for none.
    [[nodiscard]] const std::string& prompt() const { return mPrompt; }
    /// Time that mixing and handing over to the output takes.
    [[nodiscard]] LoadMeter::Load load() const { return mLoad.load(LoadMeter::Clock::now()); }

private:
    [[nodiscard]] bool isTested() const { return mSettings->source.test.channels != 0; }
    [[nodiscard]] std::size_t remainingFrames(std::size_t most) const;
    std::size_t mixData();
    std::size_t addStreams(std::size_t frames, bool isSteady);
    void hear(const PlaybackStream* prompt, std::size_t frames);
    void duck(const std::optional<std::string>& prompt, std::size_t frames);
    void applySettings();
    void sortStreams();
    void handOver(std::size_t frames);

    StreamRegistry& mStreams;
    const Settings& mSettings;
    Output& mOutput;
    std::function<void(std::span<const float> mix)> mOnMixed = [](std::span<const float>) {};
    std::function<void(float, const std::string&)> mOnDucked = [](float, const std::string&) {};
    float mDuckedBy = 1.0F;
    OutputFormat mFormat;
    float mLargest;
    Counters mCounters;
    bool mAreSettingsDue = false;         // gains must be computed again
    std::vector<PlaybackStream*> mOrder;  // of the sum; as old as the gains
    Ducking mDucking;
    bool mEndsPeriod = true;                   // the frames being mixed do
    std::optional<std::string> mPeriodPrompt;  // heard in this period so far
    std::size_t mPeriodFrames = 0;             // of this period so far
    std::string mPrompt;                       // the last one; empty while mDucking has none
    LoadMeter mLoad;
    LoudspeakerPath mLoudspeakers;
    std::vector<float> mMix;
};

}  // namespace cabinaudio::server
