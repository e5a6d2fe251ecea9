// SPDX-License-Identifier: Apache-2.0
#include "tools/contract/CheckServer.h"

#include "devkit/contract/Outcome.h"
#include "devkit/contract/Run.h"
#include "tools/Failure.h"
#include "tools/Interruption.h"
#include "tools/ServerSocket.h"
#include "tools/Terminal.h"
#include "tools/contract/ContractReport.h"

namespace cabinaudio::tool {

namespace {

/// A pattern that matches no rule is a slip of the pen.
void requireRules(const char* option, const std::vector<std::string>& patterns) {
    for (const std::string& pattern : patterns) {
        contract::Choice choice;
        choice.only = {pattern};
        if (contract::chosenRules(choice).empty())
            throw Failure(std::string(option) + " '" + pattern +
                              "' matches no rule (try 'cabinaudio check-server --list')",
                          ExitCode::Usage);
    }
}

contract::Choice choiceOf(const CheckServerOptions& options) {
    requireRules("--only", options.only);
    requireRules("--skip", options.skip);
    return {options.only, options.skip, options.isSafe, options.writeOnly};
}

ContractReport checked(const CheckServerOptions& options, bool json) {
    const Interruption interruption;
    Interruption::receiveHere();
    ContractReport report;
    try {
        report.run = contract::checkServer(
            {choiceOf(options), options.timeout, interruption.event().descriptor()},
            [&](const contract::Result& result) {
                if (!json) say(lineOf(result));
            });
    } catch (const contract::NoServer&) {
        throw Failure(noServerText(), ExitCode::NoServer);
    }
    if (report.run.isInterrupted) report.signal = interruption.signalName();
    return report;
}

}  // namespace

std::string optionFault(const CheckServerOptions& options) {
    if (options.isSafe && options.writeOnly) return "--safe and --write-only exclude each other";
    if (options.isList && !options.junitFile.empty()) return "--list writes no --junit";
    return "";
}

ExitCode run(const CheckServerOptions& options, const CommonOptions& common) {
    if (options.isList) {
        printRules(contract::chosenRules(choiceOf(options)), common.json);
        return ExitCode::Done;
    }
    const ContractReport report = checked(options, common.json);
    // First: where the file cannot be written, the results are not lost.
    printEnd(report, common.json);
    if (!options.junitFile.empty()) writeJUnit(options.junitFile, report);
    return report.code();
}

}  // namespace cabinaudio::tool
