// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"
#include "devkit/server/mix/Ducking.h"
#include "devkit/server/mix/LoadMeter.h"
#include "devkit/server/mix/LoudspeakerPath.h"
#include "devkit/server/outputs/Output.h"
#include "devkit/server/settings/Settings.h"
#include "devkit/server/streams/StreamRegistry.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::server {

/// Sums the active streams and passes the sum to the output, a period at a time.
///
/// At a steady pace one period is mixed per tick of the clock, from the first start of a stream
/// until no stream exists and the last sound has left the loudspeaker delays, and during
/// loudspeaker tests. Without a pace (fast) a round is mixed whenever there is data. It is as long
/// as the longest stream data, at most a period, so no data waits and none is missing.
class Mixer {
public:
    enum class Pace { Steady, Fast };

    struct Counters {
        std::uint64_t periods = 0;         // handed to the output
        std::uint64_t frames = 0;          // in these periods
        std::uint64_t latePeriods = 0;     // mixed after the deadline of the next one
        std::uint64_t clippedSamples = 0;  // beyond full scale
    };

    Mixer(EventLoop& loop, StreamRegistry& streams, const Settings& settings, Output& output,
          const OutputFormat& format, Pace pace);

    /// Called with the frames that the output has got.
    void setOnMixed(std::function<void(std::span<const float> mix)> onMixed) {
        mOnMixed = std::move(onMixed);
    }

    /// Call after streams were added, removed, started, stopped or written to, or settings changed.
    void update();

    [[nodiscard]] bool isFast() const { return mPace == Pace::Fast; }
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
    void updateClock();
    [[nodiscard]] bool isTested() const { return mSettings->source.test.channels != 0; }
    [[nodiscard]] std::size_t remainingFrames(std::size_t most) const;
    void tick(std::uint64_t deadlines);
    void mixPeriod();
    void mixRound();
    std::size_t mixData();
    std::size_t addStreams(std::size_t frames, bool isSteady);
    void duck(const PlaybackStream* prompt, std::size_t frames);
    void applySettings();
    void discardHeld();
    void handOver(std::size_t frames);

    EventLoop& mLoop;
    StreamRegistry& mStreams;
    const Settings& mSettings;
    Output& mOutput;
    std::function<void(std::span<const float> mix)> mOnMixed = [](std::span<const float>) {};
    OutputFormat mFormat;
    float mLargest;
    Pace mPace;
    Timer mClock;
    bool mIsRunning = false;  // the clock
    bool mIsPosted = false;   // a fast round is pending
    Counters mCounters;
    bool mAreSettingsDue = false;  // gains must be computed again
    Ducking mDucking;
    std::string mPrompt;  // the last one; empty while mDucking has none
    LoadMeter mLoad;
    LoudspeakerPath mLoudspeakers;
    std::vector<float> mMix;
};

}  // namespace cabinaudio::server
