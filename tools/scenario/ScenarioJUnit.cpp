// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/ScenarioJUnit.h"

#include "tools/JUnit.h"
#include "tools/scenario/Files.h"

#include <filesystem>

namespace cabinaudio::tool::scenario {

namespace {

namespace fs = std::filesystem;

JUnitCase caseOf(const Scenario& scenario, const Judgement& one) {
    JUnitCase result;
    result.className = fs::path(scenario.file).stem().string();
    result.name = one.text;
    result.file = scenario.file;
    result.line = static_cast<int>(one.line);
    if (one.isMet) return result;
    result.result = JUnitCase::Result::Failure;
    result.message = one.text + ": " + one.detail;
    return result;
}

std::vector<std::string> attachments(const Outcome& outcome) {
    std::vector<std::string> paths;
    for (const PartResult& part : outcome.parts)
        for (const std::string& file : {part.files.picture, part.files.heard, part.files.log})
            if (fs::exists(file)) paths.push_back(fs::absolute(file));
    return paths;
}

}  // namespace

void writeJUnit(const std::string& file, const Scenario& scenario, const Outcome& outcome,
                const std::vector<Judgement>& judgements, const ResultDirectory& directory) {
    JUnitSuite suite{scenario.file, {}, {}};
    for (const Judgement& one : judgements)
        suite.cases.push_back(caseOf(scenario, one));
    if (directory.isKept()) suite.attachments = attachments(outcome);
    tool::writeJUnit(file, suite);
}

}  // namespace cabinaudio::tool::scenario
