// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/time/Lockstep.h"

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Period.h"
#include "devkit/server/base/Text.h"
#include "devkit/server/time/Description.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace cabinaudio::server {
namespace {

using std::chrono::milliseconds;

// Limits one turn: other handlers wait for the event loop.
constexpr int PARTS_AT_ONCE = 16;

// Waits are looked at so often. No notification tells that a writer begins to wait: that is looked
// for more often at first.
constexpr milliseconds TICK{10};
constexpr milliseconds SETTLING_TICK{2};
constexpr std::chrono::microseconds FIRST_TICK{200};
constexpr int FIRST_LOOKS = 25;

// After a pause of this process its clients need their time, so a tick counts no more than this.
constexpr milliseconds LONGEST_TICK{50};

// A wait begins anew one to two of these after time came to a stand. The shortest of the library's
// waits is 600 ms, and this process may be held up for most of that on a busy machine.
constexpr milliseconds NUDGE_INTERVAL{75};

}  // namespace

Lockstep::Lockstep(EventLoop& loop, Mixer& mixer, const StreamRegistry& streams,
                   const CaptureRegistry& captures, const TimeOptions& options,
                   RunCommand runCommand)
    : mLoop(loop),
      mMixer(mixer),
      mStreams(streams),
      mOptions(options),
      mRunCommand(std::move(runCommand)),
      mRate(mixer.format().rate),
      mCast(streams, captures, mOptions),
      mTick(loop, [this](std::uint64_t) { tick(); }),
      mNudge(loop, [this](std::uint64_t) { nudge(); }) {
    if (mOptions.mode == TimeMode::Stepped) mLimit = 0;
    for (const Await& await : mOptions.awaits)
        mAgenda.await(frameAt(await.ms), await.name);
    for (const TimedCommand& timed : mOptions.commands)
        mAgenda.add(frameAt(timed.ms), timed.command);
    mNudge.every(NUDGE_INTERVAL);
}

void Lockstep::update() {
    if (std::exchange(mIsPosted, true)) return;
    mLoop.post([this] {
        mIsPosted = false;
        turn();
    });
}

// ---- Passing ------------------------------------------------------------------------------------

void Lockstep::turn() {
    Step step = Step::Again;
    for (int i = 0; i < PARTS_AT_ONCE && step == Step::Again; ++i)
        step = advance();
    if (step != Step::Rest) update();  // after other pending events
    look();
    answerSettled();
    updateTick();
}

Lockstep::Step Lockstep::advance() {
    look();
    mWaits.release();
    mIsSettling = false;
    if (isHolding()) return Step::Rest;
    if (!mUntil.empty() && hasFinished(mUntil)) mLimit = mFrame;
    answerRun();
    if (isAtLimit()) {
        mState = State::Standing;
        return Step::Rest;
    }
    if (isStartAwaited()) {
        mState = State::Waiting;
        return Step::Rest;
    }
    return mAgenda.isCommandDue(mFrame) ? runCommand() : pass();
}

/// Whether too few streams are started. Once enough were, time has begun for good. Without anybody
/// it begins with a budget only, so that the commands of the first frame find streams.
bool Lockstep::isHolding() {
    const std::size_t started = mCast.started();
    if (mHasBegun || started >= std::max(mOptions.hold, 1U) || (mOptions.hold == 0 && mRun)) {
        mHasBegun = true;
        return false;
    }
    if (mOptions.hold == 0) {
        mState = State::Standing;
        return true;
    }
    mState = State::Holding;
    const auto bound = mOptions.patience;
    (void)mWaits.require(
        Waits::Stage::Start,
        {{"hold",
          "",
          "hold",
          0,
          {},
          format("waited %lld ms for %u stream%s to be started (%zu %s)",
                 static_cast<long long>(bound.count()), mOptions.hold,
                 mOptions.hold == 1 ? "" : "s", started, started == 1 ? "is" : "are"),
          bound}});
    return true;
}

bool Lockstep::isStartAwaited() {
    std::vector<Need> needs;
    const auto bound = mOptions.patience;
    for (const Agenda::Start& start : mAgenda.dueStarts(mFrame)) {
        if (mCast.isStarted(start.name)) {
            mAgenda.startedOrGivenUp(start.name);
            continue;
        }
        needs.push_back(
            {"start " + start.name,
             start.name,
             "start",
             0,
             {},
             format("waited %lld ms for the start of ", static_cast<long long>(bound.count())) +
                 inQuotes(start.name),
             bound});
    }
    return mWaits.require(Waits::Stage::Start, needs);
}

/// The command may block this thread or end the process, after this turn.
Lockstep::Step Lockstep::runCommand() {
    if (!isSettled()) {
        mState = State::Waiting;
        return Step::Rest;
    }
    const Agenda::Command command = mAgenda.takeCommand();
    mIsActing = true;
    const std::string answer = mRunCommand(command.line);
    look();
    mIsActing = false;
    static constexpr std::string_view ERROR = "error: ";
    if (answer.starts_with(ERROR))
        fail(inQuotes(command.line) + ": " + answer.substr(ERROR.size()));
    return Step::Later;
}

Lockstep::Step Lockstep::pass() {
    const Cast::Part part = nextPart();
    const auto readiness = mCast.prepare(part, [this](const PlaybackStream& stream) {
        if (mFrame == mDrainedAt[stream.client().handle()]) return;
        fail("stream " + inQuotes(stream.record().name) +
             format(" stopped writing for %lld ms and went on: raise --tail",
                    static_cast<long long>(mOptions.tail.count())));
    });
    if (mWaits.require(Waits::Stage::Streams, readiness.needs)) {
        mState = State::Waiting;
        return Step::Rest;
    }
    if (readiness.ready == 0 && !mayPassInSilence(readiness.isAnyParked)) {
        mState = State::Standing;
        if (mMixer.isOver()) mMixer.discardHeld();
        return Step::Rest;
    }
    if (!areWritersWaiting()) {
        mState = State::Waiting;
        return Step::Rest;
    }
    mState = State::Passing;
    mix(part);
    return Step::Again;
}

/// A writer that is late fills its ring in other pieces than a writer that waits. So where a
/// command may find the rings, all writers wait whenever frames are taken.
bool Lockstep::areWritersWaiting() {
    if (!mAgenda.hasCommands() && mOptions.mode != TimeMode::Stepped) return true;
    if (std::exchange(mTakenAt, mFrame) != mFrame) mCast.askWriters();
    mIsSettling = mWaits.require(Waits::Stage::Writing, mCast.writing());
    return !mIsSettling;
}

/// Without anybody who is ready.
bool Lockstep::mayPassInSilence(bool isAnyParked) const {
    if (mLimit && (mRun || mOptions.mode == TimeMode::Stepped)) return true;
    if (isAnyParked && (mLimit || mAgenda.next(mFrame))) return true;
    return mStreams.streams().empty() && mMixer.heldFrames() > 0;
}

Cast::Part Lockstep::nextPart() const {
    // A period's length in frames may alternate, so that this estimate may be one too low or high.
    std::uint64_t period = mFrame * 1000 / (std::uint64_t{mRate} * PERIOD.count());
    while (framesOfPeriods(mRate, period) <= mFrame)
        ++period;
    const std::uint64_t boundary = framesOfPeriods(mRate, period);
    std::uint64_t end = boundary;
    if (const auto next = mAgenda.next(mFrame)) end = std::min(end, *next);
    if (mLimit) end = std::min(end, *mLimit);
    return {static_cast<std::size_t>(end - mFrame), end == boundary};
}

void Lockstep::mix(const Cast::Part& part) {
    mMixer.mix(part.frames, part.endsPeriod);
    mFrame += part.frames;
    mLooks = 0;
    if (part.endsPeriod) mCast.record();
    for (const auto& stream : mStreams.streams())
        if (stream->isDry() && !stream->isDrained()) mDrainedAt[stream->client().handle()] = mFrame;
    if (!mLimit && mCast.started() > 0) refuseSettling();
}

// ---- What clients do ----------------------------------------------------------------------------

void Lockstep::look() {
    const bool isPassing = mHasBegun && !isAtLimit() && !mIsActing && mOptions.isStrict;
    for (const Cast::Event& event : mCast.look(mAgenda, mFrame))
        if (isPassing && (event.isAudible || mRun)) complain(event);
}

void Lockstep::complain(const Cast::Event& event) {
    const std::string stream = "stream " + inQuotes(event.name);
    switch (event.kind) {
        case Cast::Event::Kind::Started:
            if (!mAgenda.isAwaited(event.name))
                fail(stream + " was started while time passes: add --await " +
                     printable(event.name) + "@MS");
            return;
        case Cast::Event::Kind::Stopped:
            fail(stream + " was stopped while time passes");
            return;
        case Cast::Event::Kind::Gone:
            fail(stream + " was removed while time passes");
            return;
    }
}

void Lockstep::settingChanged(const std::string& request) {
    const bool isPassing = mHasBegun && !isAtLimit() && !mIsActing && mOptions.isStrict;
    if (isPassing && (mCast.started() > 0 || mRun)) fail(request + " was called while time passes");
}

/// Whether no client can change what is queued. Looked at for a while: a writer that finds space
/// just before it waits seems to wait for a moment.
bool Lockstep::isSettled() {
    if (mAskedAt != mFrame) {
        mAskedAt = mFrame;
        mSettledSince.reset();
        mCast.askWriters();
    }
    if (mWaits.require(Waits::Stage::Settling, mCast.unsettled())) {
        mSettledSince.reset();
        return false;
    }
    const auto now = std::chrono::steady_clock::now();
    if (!mSettledSince) mSettledSince = now;
    return now - *mSettledSince >= SETTLING_TICK;
}

void Lockstep::answerSettled() {
    if (mSettling.empty() || mState == State::Passing || !isSettled()) return;
    for (const Later& later : std::exchange(mSettling, {}))
        later("ok");
}

/// A limit before the run's end was set while it ran.
void Lockstep::answerRun() {
    if (mRun && mFrame >= mRun->end)
        endRun("ok");
    else if (isAtLimit())
        endRun(stopped());
}

/// Where nothing limits time, a stream may write as long as it wants to.
void Lockstep::refuseSettling() {
    for (const Later& later : std::exchange(mSettling, {}))
        later("error: time passes; time stop first");
}

/// Whether a stream of this name has come to its end at least once.
bool Lockstep::hasFinished(const std::string& name) const {
    const auto& streams = mStreams.streams();
    const bool isAlive = std::any_of(streams.begin(), streams.end(), [&](const auto& stream) {
        return stream->record().name == name;
    });
    const auto isEnd = [](const StreamChange& one) {
        const std::string_view what = one.what;
        return what == "end" || what == "stop" || what == "removed";
    };
    const auto& records = mStreams.records();
    return std::any_of(records.begin(), records.end(), [&](const auto& record) {
        const auto& changes = record->changes;
        return record->name == name && ((record->startedAtFrame && !isAlive) ||
                                        std::any_of(changes.begin(), changes.end(), isEnd));
    });
}

void Lockstep::endRun(const std::string& answer) {
    if (!mRun) return;
    mLimit = mFrame;
    const Run run = *std::exchange(mRun, std::nullopt);
    run.later(answer);
}

// ---- Bounds -------------------------------------------------------------------------------------

/// Whether somebody waits for time.
bool Lockstep::isHeldUp() const {
    return mRun || !mSettling.empty() || (!isAtLimit() && mCast.started() > 0);
}

void Lockstep::updateTick() {
    const bool isSettling = mIsSettling || !mSettling.empty() ||
                            (mAgenda.isCommandDue(mFrame) && mHasBegun && !isAtLimit());
    const bool isNeeded = isSettling || (mWaits.isWaiting() && isHeldUp());
    if (!isNeeded) {
        if (std::exchange(mIsTicking, false)) mTick.stop();
        return;
    }
    if (!std::exchange(mIsTicking, true)) mLastTick = std::chrono::steady_clock::now();
    if (!isSettling)
        mTick.once(TICK);
    else if (++mLooks <= FIRST_LOOKS)
        mTick.once(FIRST_TICK);
    else
        mTick.once(SETTLING_TICK);
}

void Lockstep::tick() {
    const auto now = std::chrono::steady_clock::now();
    const auto elapsed = std::chrono::floor<milliseconds>(now - mLastTick);
    mLastTick += elapsed;
    if (isHeldUp()) {
        for (const Need& need : mWaits.count(std::min(elapsed, LONGEST_TICK)))
            giveUp(need);
    }
    turn();
}

void Lockstep::giveUp(const Need& need) {
    if (need.why == std::string_view("hold")) mHasBegun = true;
    if (need.why == std::string_view("start")) mAgenda.startedOrGivenUp(need.name);
    if (need.why == std::string_view("settling")) mCast.excuse(need.handle);
    if (need.complaint.empty()) {
        if (need.why == std::string_view("data")) {
            mDrainedAt[need.handle] = mFrame;
            mCast.runDry(need.handle);
        }
        return;
    }
    fail(need.complaint);
    endRun("error: " + need.complaint +
           format(", at %llu ms", static_cast<unsigned long long>(ms())));
}

/// The library's waits for data and space end after a while; each wake-up begins them anew.
void Lockstep::nudge() {
    if (std::exchange(mNudgedFrame, mFrame) == mFrame) mCast.wakeAll();
}

void Lockstep::fail(const std::string& text) {
    const std::string line =
        "time: " + text + format(", at %llu ms", static_cast<unsigned long long>(ms()));
    log::error("%s", line.c_str());
    mErrors.push_back({ms(), line});
}

// ---- Commands -----------------------------------------------------------------------------------

std::uint64_t Lockstep::ms() const {
    return millisecondsAt(mFrame, mRate);
}

std::uint64_t Lockstep::frameAt(Milliseconds ms) const {
    return framesAt(ms, mRate);
}

std::string Lockstep::tooLate() const {
    return format("error: it is %llu ms already", static_cast<unsigned long long>(ms()));
}

std::string Lockstep::stopped() const {
    return format("error: stopped at %llu ms", static_cast<unsigned long long>(ms()));
}

void Lockstep::run(Milliseconds ms, const Later& later) {
    if (mRun) {
        later("error: time runs already");
        return;
    }
    mRun = Run{mFrame + frameAt(ms), later};
    mLimit = mRun->end;
    update();
}

std::string Lockstep::stop(std::optional<Milliseconds> ms) {
    if (ms && frameAt(*ms) < mFrame) return tooLate();
    if (ms && mOptions.mode == TimeMode::Stepped)
        return "error: with --time stepped, time stop takes no time";
    mLimit = ms ? frameAt(*ms) : mFrame;
    if (mRun) mLimit = std::min(*mLimit, mRun->end);
    if (isAtLimit()) endRun(stopped());
    update();
    return "ok";
}

std::string Lockstep::until(const std::string& name) {
    mUntil = name;
    update();
    return "ok";
}

std::string Lockstep::go() {
    if (mOptions.mode == TimeMode::Stepped)
        return "error: with --time stepped, time passes with time run only";
    if (mRun) return "error: time runs already";
    mLimit.reset();
    update();
    return "ok";
}

std::string Lockstep::await(const std::string& name, std::optional<Milliseconds> ms) {
    const std::uint64_t frame = ms ? frameAt(*ms) : mFrame;
    if (frame < mFrame) return tooLate();
    mAgenda.await(frame, name);
    update();
    return "ok";
}

std::string Lockstep::hold(std::uint32_t streams) {
    if (mFrame > 0) return tooLate();
    mOptions.hold = streams;
    mHasBegun = false;
    update();
    return "ok";
}

void Lockstep::settle(const Later& later) {
    mSettling.push_back(later);
    update();
}

std::string Lockstep::at(Milliseconds ms, const std::string& command) {
    if (frameAt(ms) < mFrame) return tooLate();
    mAgenda.add(frameAt(ms), command);
    update();
    return "ok";
}

void Lockstep::end() {
    endRun("error: the server ends");
    for (const Later& later : std::exchange(mSettling, {}))
        later("error: the server ends");
}

nlohmann::json Lockstep::describe() const {
    static constexpr std::array STATES = {"holding", "passing", "waiting", "standing"};
    nlohmann::json errors = nlohmann::json::array();
    for (const Error& error : mErrors)
        errors.push_back({{"ms", error.ms}, {"text", error.text}});
    nlohmann::json result = {{"mode", nameOf(mOptions.mode)},
                             {"state", STATES[static_cast<std::size_t>(mState)]},
                             {"frame", mFrame},
                             {"ms", ms()},
                             {"budget_ms", nullptr},
                             {"waiting_for", mWaits.describe()},
                             {"errors", std::move(errors)}};
    if (mLimit) result["budget_ms"] = millisecondsAt(*mLimit - std::min(mFrame, *mLimit), mRate);
    return result;
}

}  // namespace cabinaudio::server
