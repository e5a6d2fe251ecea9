// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Run.h"

#include "devkit/contract/Connection.h"
#include "devkit/contract/Outcome.h"

#include <fnmatch.h>

#include <algorithm>
#include <utility>

namespace cabinaudio::contract {

namespace {

bool matches(const std::vector<std::string>& patterns, const std::string& name) {
    return std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
        return fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
    });
}

Result checked(const Rule& rule, Session& session) {
    Result result{&rule, Verdict::Holds, {}, {}, {}, {}};
    const Clock::time_point begin = Clock::now();
    try {
        rule.check(session);
    } catch (const Broken& broken) {
        result.verdict = Verdict::Broken;
        result.expected = broken.expected();
        result.came = broken.came();
    } catch (const NoServer& gone) {
        result.verdict = Verdict::Broken;
        result.expected = "a server that listens";
        result.came = gone.what();
    } catch (const NotJudged& reason) {
        result.verdict = Verdict::NotJudged;
        result.reason = reason.what();
    }
    result.took = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
    return result;
}

/// Why the rule is not checked; empty when it is.
std::string obstacle(const Rule& rule, const Choice& choice) {
    if (choice.isSafe && rule.effect != Effect::Reads) return "it changes the server (--safe)";
    if (!choice.includesWriteOnly && rule.effect == Effect::Lasts)
        return "the setting cannot be set back (--write-only)";
    return "";
}

Result judged(const Rule& rule, const Choice& choice, Session& session) {
    std::string reason = obstacle(rule, choice);
    if (reason.empty()) return checked(rule, session);
    return {&rule, Verdict::NotJudged, {}, {}, std::move(reason), {}};
}

}  // namespace

std::size_t Report::count(Verdict verdict) const {
    return static_cast<std::size_t>(
        std::count_if(results.begin(), results.end(),
                      [&](const Result& result) { return result.verdict == verdict; }));
}

std::vector<const Rule*> chosenRules(const Choice& choice) {
    std::vector<const Rule*> chosen;
    for (const Rule& rule : allRules())
        if ((choice.only.empty() || matches(choice.only, rule.name)) &&
            !matches(choice.skip, rule.name))
            chosen.push_back(&rule);
    return chosen;
}

Report checkServer(const RunOptions& options, const std::function<void(const Result&)>& onResult) {
    Session session(options.patience, options.stop);
    { const Connection first(session); }  // throws where no server listens
    Report report;
    try {
        for (const Rule* rule : chosenRules(options.choice)) {
            session.rule = rule->name;
            report.results.push_back(judged(*rule, options.choice, session));
            onResult(report.results.back());
        }
    } catch (const Interrupted&) {
        report.isInterrupted = true;
    }
    report.notRestored = session.notRestored;
    return report;
}

}  // namespace cabinaudio::contract
