// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"
#include "devkit/server/streams/Mixer.h"
#include "devkit/server/time/Agenda.h"
#include "devkit/server/time/Cast.h"
#include "devkit/server/time/TimeLine.h"
#include "devkit/server/time/TimeOptions.h"
#include "devkit/server/time/Waits.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// Time that passes when everybody who plays or records is ready, and, when stepped, only as far as
/// commands say. Frames alone decide what is heard: real time only bounds the waits.
///
///     holding --enough streams are started--> passing
///     passing <--somebody is not ready / is ready again--> waiting
///     passing <--nobody is there, or the budget is used up / a start, a command--> standing
///
/// A period ends at the next multiple of 16 ms, or earlier where something is awaited, a command is
/// due or the budget ends. Every frame of time is a frame of the output.
class Lockstep : public TimeLine {
public:
    /// Runs a line of the control socket and returns the answer.
    using RunCommand = std::function<std::string(const std::string& line)>;

    Lockstep(EventLoop& loop, Mixer& mixer, const StreamRegistry& streams,
             const CaptureRegistry& captures, const TimeOptions& options, RunCommand runCommand);

    void update() override;
    void settingChanged(const std::string& request) override;
    void end() override;
    [[nodiscard]] nlohmann::json describe() const override;
    [[nodiscard]] bool hasErrors() const override { return !mErrors.empty(); }

    void run(Milliseconds ms, const Later& later) override;
    std::string stop(std::optional<Milliseconds> ms) override;
    std::string go() override;
    std::string await(const std::string& name, std::optional<Milliseconds> ms) override;
    std::string hold(std::uint32_t streams) override;
    void settle(const Later& later) override;
    std::string until(const std::string& name) override;
    std::string at(Milliseconds ms, const std::string& command) override;

private:
    enum class State { Holding, Passing, Waiting, Standing };
    enum class Step { Again, Later, Rest };

    struct Error {
        std::uint64_t ms;
        std::string text;
    };
    struct Run {
        std::uint64_t end;
        Later later;
    };

    void turn();
    [[nodiscard]] Step advance();
    [[nodiscard]] bool isHolding();
    [[nodiscard]] bool isStartAwaited();
    [[nodiscard]] Step runCommand();
    [[nodiscard]] Step pass();
    [[nodiscard]] bool areWritersWaiting();
    [[nodiscard]] bool mayPassInSilence(bool isAnyParked) const;
    [[nodiscard]] Cast::Part nextPart() const;
    void mix(const Cast::Part& part);

    void look();
    void complain(const Cast::Event& event);
    [[nodiscard]] bool isSettled();
    void answerSettled();
    void refuseSettling();
    void answerRun();
    [[nodiscard]] bool hasFinished(const std::string& name) const;
    void endRun(const std::string& answer);

    void updateTick();
    void tick();
    void giveUp(const Need& need);
    void nudge();
    void fail(const std::string& text);

    [[nodiscard]] bool isAtLimit() const { return mLimit && mFrame >= *mLimit; }
    [[nodiscard]] bool isHeldUp() const;
    [[nodiscard]] std::uint64_t ms() const;
    [[nodiscard]] std::uint64_t frameAt(Milliseconds ms) const;
    [[nodiscard]] std::string tooLate() const;
    [[nodiscard]] std::string stopped() const;

    EventLoop& mLoop;
    Mixer& mMixer;
    const StreamRegistry& mStreams;
    TimeOptions mOptions;
    RunCommand mRunCommand;
    const std::uint32_t mRate;
    Cast mCast;
    Agenda mAgenda;
    Waits mWaits;
    State mState = State::Standing;
    bool mHasBegun = false;               // holding is over
    bool mIsActing = false;               // a command at a frame runs
    std::uint64_t mFrame = 0;             // that comes next
    std::optional<std::uint64_t> mLimit;  // frame at which time stands; empty for none
    std::optional<Run> mRun;
    std::vector<Later> mSettling;
    std::string mUntil;                     // stream after which time stands; empty for none
    std::optional<std::uint64_t> mTakenAt;  // the same, for the next frames
    std::optional<std::uint64_t> mAskedAt;  // frame at which the writers were asked to wait again
    std::optional<std::chrono::steady_clock::time_point> mSettledSince;
    std::map<std::uint32_t, std::uint64_t> mDrainedAt;  // frame, by the client's handle
    std::vector<Error> mErrors;
    bool mIsPosted = false;
    Timer mTick;  // while time waits
    bool mIsTicking = false;
    bool mIsSettling = false;  // time waits for something that nobody tells
    int mLooks = 0;            // since time has passed
    std::chrono::steady_clock::time_point mLastTick;
    Timer mNudge;
    std::uint64_t mNudgedFrame = 0;
};

}  // namespace cabinaudio::server
