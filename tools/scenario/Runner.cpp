// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Runner.h"

#include "tools/Failure.h"
#include "tools/scenario/EndOfRun.h"
#include "tools/scenario/Instance.h"
#include "tools/scenario/PartServer.h"
#include "tools/scenario/Programs.h"
#include "tools/scenario/Progress.h"
#include "tools/scenario/RunFailures.h"
#include "tools/scenario/SettingsChange.h"
#include "tools/scenario/TimeState.h"
#include "tools/scenario/Timeline.h"
#include "tools/scenario/Wait.h"

#include <chrono>
#include <csignal>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace cabinaudio::tool::scenario {

namespace {

// For a program that was asked to end.
constexpr std::chrono::milliseconds GRACE{1000};

class Runner {
public:
    Runner(const Scenario& scenario, const Locations& locations, const ResultDirectory& directory,
           const Interruption& interruption)
        : mScenario(scenario),
          mLocations(locations),
          mDirectory(directory),
          mInstance(locations),
          mWait(interruption, scenario.patience),
          mServer(scenario, locations, mInstance.name(), mWait),
          mPrograms(locations, mInstance.name(), directory),
          mProgress(mServer, mPrograms, scenario.rate),
          mEnd(scenario, mWait, mServer, mPrograms, mProgress) {}

    Outcome run() {
        try {
            attempt([&] {
                for (std::size_t i = 0; i < mScenario.parts.size(); ++i)
                    playPart(i);
            });
            finish();
        } catch (...) {
            mPrograms.end(GRACE);  // which may have something to save
            throw;
        }
        mPrograms.end(GRACE);
        mOutcome.logs = mPrograms.logs();
        return std::move(mOutcome);
    }

private:
    [[nodiscard]] const Part& part() const { return mScenario.parts[mPart]; }
    [[nodiscard]] bool isLast() const { return mPart + 1 == mScenario.parts.size(); }
    [[nodiscard]] PartResult& result() { return mOutcome.parts.back(); }

    /// A step that fails becomes the problem of the outcome, unless an earlier one did.
    template <typename Step>
    void attempt(const Step& step) {
        try {
            step();
        } catch (const Interrupted&) {
            throw;
        } catch (const NotFulfilled& failure) {
            const bool isOverdue = dynamic_cast<const Overdue*>(&failure) != nullptr;
            note({failure.line(), failure.what() + (isOverdue ? mProgress.standing() : "")});
        } catch (const Failure& failure) {
            // The file has an error, and nothing to judge.
            if (failure.code() == ExitCode::Usage) throw;
            note({0, failure.what(), ExitCode::Failed});
        }
    }

    void note(const Problem& problem) {
        if (!mOutcome.problem) mOutcome.problem = problem;
    }

    void playPart(std::size_t number) {
        mPart = number;
        mProgress.beginPart();
        const Timeline timeline = timelineOf(part(), mScenario.until, isLast());
        startServer(timeline);
        if (timeline.stops.empty())
            letTimePass();
        else
            mServer.command(0, "time stop " + timeline.stops.front().at.text);
        if (number == 0) startPrograms();
        for (const TimedAction* timed : timeline.beginning)
            act(*timed);
        for (std::size_t i = 0; i < timeline.stops.size(); ++i) {
            waitForStop(timeline.stops[i]);
            for (const TimedAction* timed : timeline.stops[i].actions)
                act(*timed);
            if (!mServer.isThere()) break;  // it has crashed
            if (i + 1 == timeline.stops.size()) continue;
            // Time goes on, as far as this.
            mServer.command(0, "time stop " + timeline.stops[i + 1].at.text);
        }
        finishPart(timeline);
    }

    void finishPart(const Timeline& timeline) {
        const bool standsAtEnd =
            part().restartAt.has_value() || (isLast() && mScenario.until.at.has_value());
        if (!isLast()) {
            if (mServer.isThere()) noteErrors();
            mServer.end();
        } else if (!standsAtEnd && mServer.isThere()) {
            if (!timeline.stops.empty()) letTimePass();
            mEnd.await(lastFrame(timeline, mScenario.rate));
        } else if (!mServer.isThere()) {
            mEnd.awaitPrograms();
        }
    }

    void startServer(const Timeline& timeline) {
        Words options = timeline.serverOptions;
        options.insert(options.end(), {"--state", mDirectory.file("settings.json")});
        mOutcome.parts.push_back({filesOfPart()});
        mServer.start(result().files, options);
        result().areErrorsKnown = false;
    }

    [[nodiscard]] PartFiles filesOfPart() const {
        const std::string suffix =
            mScenario.parts.size() == 1 ? "" : "-" + std::to_string(mPart + 1);
        const auto named = [&](const char* name, const char* extension) {
            return mDirectory.file(name + suffix + extension);
        };
        return {named("heard", ".wav"),  named("report", ".json"), named("stems", ""),
                named("server", ".log"), named("trace", ".txt"),   named("picture", ".png")};
    }

    void startPrograms() {
        for (const SetCommand& set : mScenario.settings)
            change(set);
        for (const Program& program : mScenario.programs)
            mPrograms.start(program);
    }

    void waitForStop(const Stop& stop) {
        const auto stands = [&] {
            return mProgress.time().isAtLimit && mProgress.time().frame >= stop.at.frame;
        };
        mWait.until(
            stop.line, "time " + stop.at.text, [&] { return mProgress.update(); }, stands);
        mServer.command(stop.line, "time settle");
    }

    /// As far as the scenario's end.
    void letTimePass() {
        if (isLast()) mEnd.announce();
        mServer.command(0, "time go");
    }

    void act(const TimedAction& timed) {
        if (const auto* set = std::get_if<SetCommand>(&timed.action)) change(*set);
        if (const auto* run = std::get_if<RunCommand>(&timed.action)) mPrograms.start(run->program);
        if (const auto* signal = std::get_if<SignalCommand>(&timed.action))
            send(*signal, timed.line);
        if (const auto* server = std::get_if<ServerCommand>(&timed.action)) {
            if (server->text == "crash")
                crash(timed.line);
            else
                mServer.command(timed.line, server->text);
        }
    }

    void send(const SignalCommand& signal, unsigned line) {
        mPrograms.send(signal.program, signal.signal);
        if (signal.signal != SIGKILL) return;
        // The kernel needs a moment, in which time must not pass.
        mWait.until(
            line, "the end of \"" + signal.program + "\"", [&] { return mPrograms.update(); },
            [&] { return mPrograms.hasEnded(signal.program); });
    }

    void change(const SetCommand& set) {
        changeSettings(set, mScenario.file, mLocations, mInstance.name(),
                       mDirectory.file("set.log"), mWait);
    }

    void crash(unsigned line) {
        noteErrors();
        mServer.crash(line);
        result().hasCrashed = true;
    }

    /// The server ends before the programs, so that what they do from here on is neither heard nor
    /// reported.
    void finish() {
        attempt([&] {
            if (!mServer.answers()) return;
            if (!mPrograms.haveAllEnded()) mServer.command(0, "time stop");
            noteErrors();
            if (!mOutcome.problem) mEnd.awaitExpected();
        });
        // Those that were told before the server fell silent.
        if (!mOutcome.parts.empty() && !result().areErrorsKnown) addErrors(mProgress.time().errors);
        mPrograms.update();
        mOutcome.ends = mPrograms.ends();
        attempt([&] { mServer.end(); });
    }

    /// The errors up to here. Later ones are not part of the test.
    void noteErrors() {
        addErrors(timeState(mServer.ask(0, "time")).errors);
        result().areErrorsKnown = true;
    }

    void addErrors(const std::vector<TimeError>& errors) {
        for (TimeError error : errors) {
            error.part = mPart;
            mOutcome.errors.push_back(std::move(error));
        }
    }

    const Scenario& mScenario;
    const Locations& mLocations;
    const ResultDirectory& mDirectory;
    const Instance mInstance;
    const Wait mWait;
    PartServer mServer;
    Programs mPrograms;  // ends before the server, for which clients would wait otherwise
    Progress mProgress;
    EndOfRun mEnd;
    Outcome mOutcome;
    std::size_t mPart = 0;
};

}  // namespace

Outcome runScenario(const Scenario& scenario, const Locations& locations,
                    const ResultDirectory& directory, const Interruption& interruption) {
    return Runner(scenario, locations, directory, interruption).run();
}

}  // namespace cabinaudio::tool::scenario
