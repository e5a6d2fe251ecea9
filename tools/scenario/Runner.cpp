// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Runner.h"

#include "tools/Failure.h"
#include "tools/scenario/Instance.h"
#include "tools/scenario/Moment.h"
#include "tools/scenario/Programs.h"
#include "tools/scenario/SettingsChange.h"
#include "tools/scenario/Signals.h"
#include "tools/scenario/TimeState.h"
#include "tools/scenario/Timeline.h"
#include "tools/scenario/Wait.h"

#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <optional>
#include <set>
#include <utility>

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
          mPrograms(locations, mInstance.name(), directory),
          mWait(interruption, scenario.patience) {}

    Outcome run() {
        try {
            for (std::size_t i = 0; i < mScenario.parts.size(); ++i)
                playPart(i);
        } catch (const Overdue& overdue) {
            mOutcome.problem = Problem{overdue.line(), overdue.what() + standing()};
        }
        finish();
        mOutcome.logs = mPrograms.logs();
        return std::move(mOutcome);
    }

private:
    [[nodiscard]] const Part& part() const { return mScenario.parts[mPart]; }
    [[nodiscard]] bool isLast() const { return mPart + 1 == mScenario.parts.size(); }
    [[nodiscard]] PartResult& result() { return mOutcome.parts.back(); }

    void playPart(std::size_t number) {
        mPart = number;
        const Timeline timeline = timelineOf(part(), mScenario.until, isLast());
        startServer(timeline);
        if (timeline.stops.empty())
            letTimePass();
        else
            command(0, "time stop " + timeline.stops.front().at.text);
        if (number == 0) startPrograms();
        for (const TimedAction* timed : timeline.beginning)
            act(*timed);
        for (std::size_t i = 0; i < timeline.stops.size(); ++i) {
            waitForStop(timeline.stops[i]);
            for (const TimedAction* timed : timeline.stops[i].actions)
                act(*timed);
            if (!mServer) break;  // it has crashed
            if (i + 1 == timeline.stops.size()) continue;
            // Time goes on, as far as this.
            command(0, "time stop " + timeline.stops[i + 1].at.text);
        }
        finishPart(timeline);
    }

    void finishPart(const Timeline& timeline) {
        const bool standsAtEnd =
            part().restartAt.has_value() || (isLast() && mScenario.until.at.has_value());
        if (!isLast()) {
            if (mServer) noteErrors();
            endServer();
        } else if (!standsAtEnd && mServer) {
            if (!timeline.stops.empty()) letTimePass();
            waitForEnd();
        } else if (!mServer) {
            mWait.until(
                mScenario.until.line, "the programs' ends", [&] { return mPrograms.update(); },
                [&] { return mPrograms.haveAllEnded(); });
        }
    }

    void startServer(const Timeline& timeline) {
        Words options = timeline.serverOptions;
        options.insert(options.end(), {"--state", mDirectory.file("settings.json")});
        options.insert(options.end(), mScenario.serverOptions.begin(),
                       mScenario.serverOptions.end());
        mOutcome.parts.push_back({filesOfPart(), false});
        mServer.emplace(mLocations, mInstance.name(), result().files, options);
        while (!mServer->isReady(std::chrono::milliseconds(20))) {
            mWait.requireNoInterruption();
            if (const std::optional<int> status = mServer->process().ended()) refuseServer(*status);
        }
        mServer->connect();
    }

    [[noreturn]] void refuseServer(int status) {
        const bool isUsage = WIFEXITED(status) && WEXITSTATUS(status) == 2;
        const std::string place =
            mScenario.file + ":" + std::to_string(mScenario.serverLine) + ": ";
        throw Failure(
            (isUsage && mScenario.serverLine != 0 ? place : "the server has not started: ") +
                mServer->lastWords(),
            isUsage ? ExitCode::Usage : ExitCode::Failed);
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

    /// @throws Overdue, Failure
    void waitForStop(const Stop& stop) {
        const auto stands = [&] { return mTime.isAtLimit && mTime.frame >= stop.at.frame; };
        mWait.until(
            stop.line, "time " + stop.at.text, [&] { return hasProgressed(); }, stands);
        command(stop.line, "time settle");
    }

    /// As far as the scenario's end.
    void letTimePass() {
        if (isLast() && !mScenario.until.finished.empty())
            command(mScenario.until.line, "time until " + mScenario.until.finished);
        command(0, "time go");
    }

    void waitForEnd() {
        const Until& until = mScenario.until;
        const std::string what = until.finished.empty()
                                     ? "the programs' ends"
                                     : "the end of stream \"" + until.finished + "\"";
        mWait.until(
            until.line, what, [&] { return hasProgressed(); },
            [&] { return mPrograms.haveAllEnded() || mTime.isAtLimit; });
    }

    /// Asks for time and programs. @return whether one of them has advanced
    bool hasProgressed() {
        const bool hasOneEnded = mPrograms.update();
        const TimeState before = std::exchange(mTime, timeState(ask(0, "time")));
        return hasOneEnded || mTime.frame != before.frame;
    }

    void act(const TimedAction& timed) {
        if (const auto* set = std::get_if<SetCommand>(&timed.action)) change(*set);
        if (const auto* run = std::get_if<RunCommand>(&timed.action)) mPrograms.start(run->program);
        if (const auto* signal = std::get_if<SignalCommand>(&timed.action))
            send(*signal, timed.line);
        if (const auto* server = std::get_if<ServerCommand>(&timed.action)) {
            if (server->text == "crash") noteErrors();
            command(timed.line, server->text);
            if (server->text == "crash") endCrash(timed.line);
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

    void endCrash(unsigned line) {
        mWait.until(
            line, "the server's crash", [] { return false; },
            [&] { return mServer->process().ended().has_value(); });
        result().hasCrashed = true;
        mServer.reset();
    }

    /// Sends a command that answers "ok".
    void command(unsigned line, const std::string& text) {
        const std::string answer = ask(line, text);
        if (answer == "ok") return;
        const std::string place = mScenario.file + ":" + std::to_string(line) + ": ";
        throw Failure((line != 0 ? place : "") + "the server answered '" + answer + "' to '" +
                      text + "'");
    }

    std::string ask(unsigned line, const std::string& text) {
        mServer->link().send(text);
        std::optional<std::string> answer;
        try {
            mWait.until(
                line, "the answer to '" + text + "'", [] { return false; },
                [&] {
                    answer = mServer->link().receive(std::chrono::milliseconds(20));
                    return answer.has_value();
                });
        } catch (const Failure& failure) {
            if (failure.code() == ExitCode::NoServer && text != "crash") throwLostServer();
            if (text != "crash") throw;
            answer = "ok";
        }
        return *answer;
    }

    [[noreturn]] void throwLostServer() {
        mWait.until(
            0, "the server's end", [] { return false; },
            [&] { return mServer->process().ended().has_value(); });
        throw Failure("the server ended by itself with " + endText(*mServer->process().ended()) +
                      ": " + mServer->lastWords());
    }

    /// Where time and programs stood when a wait took too long.
    [[nodiscard]] std::string standing() const {
        std::string text = "; time stands at " +
                           std::to_string(milliseconds({mTime.frame, ""}, mScenario.rate)) + " ms";
        if (!mTime.waitingFor.empty()) text += " for " + mTime.waitingFor;
        const std::string running = mPrograms.running();
        text += running.empty() ? ", no program runs" : ", still running: " + running;
        return text + mPrograms.failures();
    }

    /// Programs with an expected end may still end by themselves; time stands meanwhile. The server
    /// ends before the others, so that what they do from here on is neither heard nor reported.
    void finish() {
        if (mServer) {
            if (!mPrograms.haveAllEnded()) command(0, "time stop");
            noteErrors();
            if (!mOutcome.problem) awaitExpectedEnds();
        }
        mPrograms.update();
        mOutcome.ends = mPrograms.ends();
        endServer();
        if (mPrograms.haveAllEnded()) return;
        mPrograms.sendToAll(SIGCONT);
        mPrograms.sendToAll(SIGTERM);
        (void)mWait.atMost(GRACE, [&] { return mPrograms.update(), mPrograms.haveAllEnded(); });
        mPrograms.sendToAll(SIGKILL);
    }

    void awaitExpectedEnds() {
        std::set<std::string> expected;
        for (const Expectation& one : mScenario.expectations)
            if (const auto* exit = std::get_if<ExpectExit>(&one.what))
                expected.insert(exit->program);
        const auto haveEnded = [&] {
            return std::all_of(expected.begin(), expected.end(),
                               [&](const std::string& name) { return mPrograms.hasEnded(name); });
        };
        mPrograms.update();
        if (haveEnded()) return;
        try {
            mWait.until(
                0, "the expected ends of programs", [&] { return hasProgressed(); }, haveEnded);
        } catch (const Overdue&) {
            // Each program has its own expectation, which tells it.
        }
    }

    /// The errors up to here. Later ones are not part of the test.
    void noteErrors() {
        for (TimeError error : timeState(ask(0, "time")).errors) {
            error.part = mPart;
            mOutcome.errors.push_back(std::move(error));
        }
    }

    /// Ends the server; it writes its report.
    void endServer() {
        if (!mServer) return;
        mServer->process().send(SIGTERM);
        const auto hasEnded = [&] { return mServer->process().ended().has_value(); };
        if (!mWait.atMost(mScenario.patience, hasEnded))
            throw Failure("the server did not end; see " + result().files.log);
        // 5: time had errors, which the report has.
        const int status = *mServer->process().ended();
        if (!WIFEXITED(status) || (WEXITSTATUS(status) != 0 && WEXITSTATUS(status) != 5))
            throw Failure("the server ended with " + endText(status) + ": " + mServer->lastWords());
        mServer.reset();
    }

    const Scenario& mScenario;
    const Locations& mLocations;
    const ResultDirectory& mDirectory;
    const Instance mInstance;
    std::optional<PrivateServer> mServer;
    Programs mPrograms;  // ends before the server, for which clients would wait otherwise
    Wait mWait;
    Outcome mOutcome;
    TimeState mTime;
    std::size_t mPart = 0;
};

}  // namespace

Outcome runScenario(const Scenario& scenario, const Locations& locations,
                    const ResultDirectory& directory, const Interruption& interruption) {
    return Runner(scenario, locations, directory, interruption).run();
}

}  // namespace cabinaudio::tool::scenario
