// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/ScenarioCommand.h"

#include "tools/Failure.h"
#include "tools/Interruption.h"
#include "tools/Terminal.h"
#include "tools/scenario/Judgement.h"
#include "tools/scenario/Reader.h"
#include "tools/scenario/Runner.h"
#include "tools/scenario/ScenarioJUnit.h"
#include "tools/scenario/ScenarioReport.h"

#include <utility>

namespace cabinaudio::tool {

namespace scenario {

namespace {

/// Prints all errors of a file; the last one ends the program.
Scenario readOrRefuse(const std::string& file) {
    Reading reading = readScenario(file);
    if (reading.faults.empty()) return std::move(reading.scenario);
    for (std::size_t i = 0; i + 1 < reading.faults.size(); ++i)
        complain(reading.faults[i]);
    throw Failure(reading.faults.back(), ExitCode::Usage);
}

}  // namespace

}  // namespace scenario

ExitCode run(const ScenarioOptions& options, const CommonOptions& common) {
    using namespace scenario;
    const Scenario scenario = readOrRefuse(options.file);
    const Interruption interruption;
    Interruption::receiveHere();
    const Locations locations = findPrograms();
    ResultDirectory directory(options.keepDirectory);
    const Outcome outcome = runScenario(scenario, locations, directory, interruption);
    const std::vector<Judgement> judgements = judgeRun(scenario, outcome);
    const bool isMet = areAllMet(judgements);
    if (!isMet) directory.keep();
    // First: where the file cannot be written, the verdicts are not lost.
    printReport(scenario, outcome, judgements, directory, common.json);
    const ExitCode code = outcome.code(isMet);
    if (code == ExitCode::Failed) complain(outcome.problem->text);
    if (!options.junitFile.empty())
        writeJUnit(options.junitFile, scenario, outcome, judgements, directory);
    return code;
}

}  // namespace cabinaudio::tool
