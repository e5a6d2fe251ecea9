// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/ScenarioCommand.h"

#include "tools/Failure.h"
#include "tools/Interruption.h"
#include "tools/Terminal.h"
#include "tools/scenario/Cut.h"
#include "tools/scenario/JUnit.h"
#include "tools/scenario/Judgement.h"
#include "tools/scenario/Reader.h"
#include "tools/scenario/Runner.h"
#include "tools/scenario/ScenarioReport.h"
#include "tools/scenario/ServerAnswers.h"

#include <utility>

namespace cabinaudio::tool {

namespace {

using namespace scenario;

/// Prints all errors of a file; the last one ends the program.
Scenario readOrRefuse(const std::string& file) {
    Reading reading = readScenario(file);
    if (reading.faults.empty()) return std::move(reading.scenario);
    for (std::size_t i = 0; i + 1 < reading.faults.size(); ++i)
        complain(reading.faults[i]);
    throw Failure(reading.faults.back(), ExitCode::Usage);
}

/// The errors of time up to the end of the test, and the sound up to there.
void readReports(const Scenario& scenario, Outcome& outcome) {
    for (std::size_t i = 0; i < outcome.parts.size(); ++i) {
        PartResult& part = outcome.parts[i];
        if (part.hasCrashed) continue;
        const bool isLast = i + 1 == scenario.parts.size();
        const std::string stream = isLast ? scenario.until.finished : "";
        const ServerReport report = serverReport(part.files.report, stream);
        if (report.lastFrame) part.endFrame = report.lastFrame;
        for (TimeError error : report.errors) {
            error.part = i;
            const double frame = error.ms * scenario.rate / 1000;
            if (!part.endFrame || frame <= static_cast<double>(*part.endFrame))
                outcome.errors.push_back(std::move(error));
        }
        if (part.endFrame) cutSound(part.files.heard, *part.endFrame);
    }
}

}  // namespace

ExitCode run(const ScenarioOptions& options, const CommonOptions& common) {
    const Scenario scenario = readOrRefuse(options.file);
    const Interruption interruption;
    Interruption::receiveHere();
    const Locations locations = findPrograms();
    ResultDirectory directory(options.keepDirectory);
    Outcome outcome = runScenario(scenario, locations, directory, interruption);
    readReports(scenario, outcome);
    const std::vector<Judgement> judgements = judgeRun(scenario, outcome);
    const bool isMet = areAllMet(judgements);
    if (!isMet) directory.keep();
    if (!options.junitFile.empty())
        writeJUnit(options.junitFile, scenario, outcome, judgements, directory);
    printReport(scenario, outcome, judgements, directory, common.json);
    return isMet ? ExitCode::Done : ExitCode::CheckNotMet;
}

}  // namespace cabinaudio::tool
