// SPDX-License-Identifier: Apache-2.0
#include "tools/contract/ContractReport.h"

#include "devkit/text/Printable.h"
#include "tools/Json.h"
#include "tools/Terminal.h"

#include <algorithm>

namespace cabinaudio::tool {

namespace {

using contract::Result;
using contract::Rule;
using contract::Verdict;

constexpr char PAGE[] = "docs/protocol.md";

const char* wordOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Holds:
            return "ok";
        case Verdict::Broken:
            return "failed";
        case Verdict::NotJudged:
            break;
    }
    return "skipped";
}

Json toJson(const Result& result) {
    constexpr double US = 1000;
    return {{"rule", result.rule->name},
            {"result", wordOf(result.verdict)},
            {"expected", orNull(result.expected)},
            {"came", orNull(result.came)},
            {"reason", orNull(result.reason)},
            {"page", PAGE},
            {"section", result.rule->section},
            {"ms", roundedMs(static_cast<double>(result.took.count()) / US)}};
}

Json toJson(const ContractReport& report) {
    Json rules = Json::array();
    for (const Result& result : report.run.results)
        rules.push_back(toJson(result));
    Json json = {{"rules", std::move(rules)},
                 {"held", report.run.count(Verdict::Holds)},
                 {"failed", report.run.count(Verdict::Broken)},
                 {"skipped", report.run.count(Verdict::NotJudged)},
                 {"interrupted_by", orNull(report.signal)},
                 {"not_restored", report.run.notRestored}};
    addEnd(json, report.code(), report.error());
    return json;
}

const char* effectName(contract::Effect effect) {
    switch (effect) {
        case contract::Effect::Reads:
            return "reads";
        case contract::Effect::Changes:
            return "changes";
        case contract::Effect::Lasts:
            break;
    }
    return "lasts";
}

Json toJson(const std::vector<const Rule*>& rules) {
    Json list = Json::array();
    for (const Rule* rule : rules)
        list.push_back({{"rule", rule->name},
                        {"sentence", rule->sentence},
                        {"page", PAGE},
                        {"section", rule->section},
                        {"effect", effectName(rule->effect)}});
    Json json = {{"rules", std::move(list)}};
    addEnd(json, ExitCode::Done, "");
    return json;
}

std::string countsText(const contract::Report& run) {
    return std::to_string(run.count(Verdict::Holds)) + " ok, " +
           std::to_string(run.count(Verdict::Broken)) + " failed, " +
           std::to_string(run.count(Verdict::NotJudged)) + " skipped";
}

}  // namespace

ExitCode ContractReport::code() const {
    if (run.count(Verdict::Broken) > 0) return ExitCode::CheckNotMet;
    return signal.empty() && run.notRestored.empty() ? ExitCode::Done : ExitCode::Failed;
}

std::string ContractReport::error() const {
    if (const std::size_t broken = run.count(Verdict::Broken); broken > 0)
        return std::to_string(broken) + " of " + std::to_string(run.results.size()) +
               " rules do not hold";
    if (!signal.empty()) return "interrupted by " + signal;
    if (!run.notRestored.empty()) return "not set back: " + run.notRestored.front();
    return "";
}

std::string lineOf(const Result& result) {
    const std::string& name = result.rule->name;
    switch (result.verdict) {
        case Verdict::Holds:
            return "ok      " + name;
        case Verdict::Broken:
            return "FAILED  " + name + ": expected " + text::printable(result.expected) +
                   "; came " + text::printable(result.came) + " (" + PAGE + ", section " +
                   result.rule->section + ")";
        case Verdict::NotJudged:
            break;
    }
    return "skipped " + name + ": " + text::printable(result.reason);
}

void printEnd(const ContractReport& report, bool json) {
    if (json) {
        printJson(toJson(report));
        return;
    }
    say(countsText(report.run));
    for (const std::string& setting : report.run.notRestored)
        complain("not set back: " + setting);
    if (!report.signal.empty()) complain("interrupted by " + report.signal);
}

void printRules(const std::vector<const Rule*>& rules, bool json) {
    if (json) {
        printJson(toJson(rules));
        return;
    }
    std::size_t width = 0;
    for (const Rule* rule : rules)
        width = std::max(width, rule->name.size());
    for (const Rule* rule : rules)
        say(rule->name + std::string(width + 2 - rule->name.size(), ' ') + rule->sentence);
}

}  // namespace cabinaudio::tool
