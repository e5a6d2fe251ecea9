// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/EndOfRun.h"

#include "tools/scenario/RunFailures.h"

#include <algorithm>
#include <set>
#include <string>
#include <variant>

namespace cabinaudio::tool::scenario {

namespace {

constexpr char PROGRAMS[] = "the programs' ends";

}  // namespace

void EndOfRun::announce() {
    const Until& until = mScenario.until;
    if (!until.finished.empty()) mServer.command(until.line, "time until " + until.finished);
}

void EndOfRun::await(std::uint64_t last) {
    const Until& until = mScenario.until;
    const std::string what =
        until.finished.empty() ? PROGRAMS : "the end of stream \"" + until.finished + "\"";
    const auto isOver = [&] {
        const TimeState& time = mProgress.time();
        return mPrograms.haveAllEnded() || time.isAtLimit || time.frame >= last;
    };
    mWait.until(
        until.line, what, [&] { return mProgress.update(); }, isOver);
    if (mProgress.time().isAtLimit) return;
    if (!mPrograms.haveAllEnded())
        throw Overdue(until.line, "an hour of time has passed without " + what);
    if (!until.finished.empty()) awaitStream();
}

/// All programs have ended. The server may notice the end of the last one late.
void EndOfRun::awaitStream() {
    const Until& until = mScenario.until;
    const auto stands = [&] {
        (void)mProgress.update();
        return mProgress.time().isAtLimit;
    };
    if (mWait.atMost(mScenario.patience, stands)) return;
    throw NotFulfilled(until.line, "all programs have ended, but no stream \"" + until.finished +
                                       "\" has ended" + mPrograms.failures());
}

void EndOfRun::awaitPrograms() {
    mWait.until(
        mScenario.until.line, PROGRAMS, [&] { return mPrograms.update(); },
        [&] { return mPrograms.haveAllEnded(); });
}

void EndOfRun::awaitExpected() {
    std::set<std::string> expected;
    for (const Expectation& one : mScenario.expectations)
        if (const auto* exit = std::get_if<ExpectExit>(&one.what)) expected.insert(exit->program);
    const auto haveEnded = [&] {
        return std::all_of(expected.begin(), expected.end(),
                           [&](const std::string& name) { return mPrograms.hasEnded(name); });
    };
    mPrograms.update();
    if (haveEnded()) return;
    try {
        mWait.until(
            0, "the expected ends of programs", [&] { return mProgress.update(); }, haveEnded);
    } catch (const Overdue&) {
        // The expectations tell which programs have not ended.
    }
}

}  // namespace cabinaudio::tool::scenario
