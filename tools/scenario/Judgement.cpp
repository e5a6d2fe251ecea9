// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Judgement.h"

#include "tools/scenario/Files.h"
#include "tools/scenario/Hearing.h"
#include "tools/scenario/Signals.h"

#include <sys/wait.h>

#include <algorithm>
#include <set>
#include <tuple>
#include <utility>

namespace cabinaudio::tool::scenario {

namespace {

class Judge {
public:
    Judge(const Scenario& scenario, const Outcome& outcome)
        : mScenario(scenario), mOutcome(outcome) {
        for (std::size_t i = 0; i < outcome.parts.size(); ++i)
            mHearings.emplace_back(outcome.parts[i].files, checksOf(i));
    }

    std::vector<Judgement> judge() {
        for (const Expectation& one : mScenario.expectations) {
            mJudgement = {one.line, one.text, false, ""};
            mPart = one.part;
            if (mPart < mOutcome.parts.size())
                std::visit([this](const auto& what) { take(what); }, one.what);
            else
                mJudgement.detail = "the scenario ended before this server's start";
            mJudgements.push_back(mJudgement);
        }
        addErrors();
        if (mOutcome.problem)
            mJudgements.push_back({mOutcome.problem->line, "run", false, mOutcome.problem->text});
        if (!areAllMet(mJudgements))
            for (const Hearing& hearing : mHearings)
                hearing.draw();
        return std::move(mJudgements);
    }

private:
    [[nodiscard]] std::vector<std::string> checksOf(std::size_t part) const {
        std::vector<std::string> checks;
        for (const Expectation& one : mScenario.expectations)
            if (const auto* check = std::get_if<ExpectCheck>(&one.what); check && one.part == part)
                checks.push_back(check->check);
        return checks;
    }

    void take(const ExpectExit& expected) {
        const auto end = mOutcome.ends.find(expected.program);
        if (end == mOutcome.ends.end()) {
            mJudgement.detail = "it had not ended by itself";
            return;
        }
        const int status = end->second;
        mJudgement.isMet = expected.signal != 0
                               ? WIFSIGNALED(status) && WTERMSIG(status) == expected.signal
                               : WIFEXITED(status) && WEXITSTATUS(status) == expected.status;
        mJudgement.detail = "ended with " + endText(status);
        if (mJudgement.isMet) return;
        const std::string said = lastLine(mOutcome.logs.at(expected.program));
        if (!said.empty()) mJudgement.detail += "; its last line: " + said;
    }

    void take(const ExpectCheck& expected) {
        std::tie(mJudgement.isMet, mJudgement.detail) = mHearings[mPart].verdict(expected.check);
    }

    void take(const ExpectError& expected) {
        for (std::size_t i = 0; i < mOutcome.errors.size(); ++i) {
            const TimeError& error = mOutcome.errors[i];
            if (error.part != mPart || error.text.find(expected.text) == std::string::npos)
                continue;
            mExpectedErrors.insert(i);
            if (!mJudgement.isMet) mJudgement.detail = error.text;
            mJudgement.isMet = true;
        }
        if (!mJudgement.isMet) mJudgement.detail = "time had no such error";
    }

    void take(const ExpectOutput& expected) {
        const auto log = mOutcome.logs.find(expected.program);
        if (log == mOutcome.logs.end()) {
            mJudgement.detail = "it was not started";
            return;
        }
        const std::string said = contentsOf(log->second);
        mJudgement.isMet = said.find(expected.text) != std::string::npos;
        mJudgement.detail = mJudgement.isMet ? "printed" : "not in what it printed";
        if (!mJudgement.isMet && !said.empty())
            mJudgement.detail += "; its last line: " + lastLine(log->second);
    }

    void addErrors() {
        const bool areAllKnown =
            std::all_of(mOutcome.parts.begin(), mOutcome.parts.end(),
                        [](const PartResult& part) { return part.areErrorsKnown; });
        if (!areAllKnown)
            mJudgements.push_back({0, "time", false, "the server did not tell all its errors"});
        else if (mExpectedErrors.size() == mOutcome.errors.size())
            mJudgements.push_back({0, "time", true, "no error that was not expected"});
        for (std::size_t i = 0; i < mOutcome.errors.size(); ++i)
            if (!mExpectedErrors.contains(i))
                mJudgements.push_back({0, "time", false, mOutcome.errors[i].text});
    }

    const Scenario& mScenario;
    const Outcome& mOutcome;
    std::vector<Hearing> mHearings;  // one for each part
    std::vector<Judgement> mJudgements;
    std::set<std::size_t> mExpectedErrors;
    Judgement mJudgement;  // the present one
    std::size_t mPart = 0;
};

}  // namespace

std::vector<Judgement> judgeRun(const Scenario& scenario, const Outcome& outcome) {
    return Judge(scenario, outcome).judge();
}

bool areAllMet(const std::vector<Judgement>& judgements) {
    return std::all_of(judgements.begin(), judgements.end(),
                       [](const Judgement& one) { return one.isMet; });
}

}  // namespace cabinaudio::tool::scenario
