// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/ScenarioReport.h"

#include "devkit/text/Printable.h"
#include "tools/Json.h"
#include "tools/Terminal.h"

#include <algorithm>
#include <filesystem>

namespace cabinaudio::tool::scenario {

namespace {

std::string lineOf(const Judgement& one) {
    return std::string(one.isMet ? "ok       " : "NOT MET  ") + text::printable(one.text) +
           (one.detail.empty() ? "" : ": " + text::printable(one.detail));
}

std::string textReport(const std::vector<Judgement>& judgements, const ResultDirectory& directory) {
    std::string text;
    for (const Judgement& one : judgements)
        text += (text.empty() ? "" : "\n") + lineOf(one);
    if (!directory.isKept()) return text;
    text += "\nkept in " + text::printable(directory.path()) + ":";
    for (const std::string& file : directory.files())
        text += " " + text::printable(file);
    return text;
}

Json partOf(const PartResult& part) {
    const auto there = [](const std::string& file) {
        return std::filesystem::exists(file) ? Json(file) : Json(nullptr);
    };
    return {{"heard", there(part.files.heard)},    {"report", there(part.files.report)},
            {"stems", there(part.files.stems)},    {"picture", there(part.files.picture)},
            {"server_log", there(part.files.log)}, {"trace", there(part.files.trace)},
            {"crashed", part.hasCrashed}};
}

Json jsonReport(const Scenario& scenario, const Outcome& outcome,
                const std::vector<Judgement>& judgements, const ResultDirectory& directory) {
    Json report = {{"file", scenario.file}, {"expectations", Json::array()}};
    for (const Judgement& one : judgements)
        report["expectations"].push_back({{"line", one.line == 0 ? Json(nullptr) : Json(one.line)},
                                          {"text", one.text},
                                          {"met", one.isMet},
                                          {"detail", one.detail}});
    const bool isKept = directory.isKept();
    report["directory"] = isKept ? Json(directory.path()) : Json(nullptr);
    report["parts"] = Json::array();
    for (const PartResult& part : outcome.parts)
        if (isKept) report["parts"].push_back(partOf(part));
    report["logs"] = Json::object();
    for (const auto& [program, file] : outcome.logs)
        if (isKept) report["logs"][program] = file;
    return report;
}

}  // namespace

void printReport(const Scenario& scenario, const Outcome& outcome,
                 const std::vector<Judgement>& judgements, const ResultDirectory& directory,
                 bool isJson) {
    if (!isJson) {
        say(textReport(judgements, directory));
        return;
    }
    const auto failed = std::count_if(judgements.begin(), judgements.end(),
                                      [](const Judgement& one) { return !one.isMet; });
    const ExitCode code = outcome.code(failed == 0);
    Json report = jsonReport(scenario, outcome, judgements, directory);
    report["met"] = failed == 0;
    report["ended"] = endName(code);
    addEnd(report, code,
           code == ExitCode::Failed
               ? outcome.problem->text
               : std::to_string(failed) + " of " + std::to_string(judgements.size()) +
                     " expectations not met");
    printJson(report);
}

}  // namespace cabinaudio::tool::scenario
