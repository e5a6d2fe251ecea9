// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ExitCode.h"
#include "tools/scenario/PrivateServer.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::tool::scenario {

/// An error of a server's time.
struct TimeError {
    std::size_t part = 0;
    double ms = 0;
    std::string text;
};

/// The reason why a scenario ended early.
struct Problem {
    unsigned line = 0;  // 0: of no line
    std::string text;
    /// CheckNotMet: a wait took too long, or an action failed. Failed: the server or the machine is
    /// at fault, not the programs.
    ExitCode code = ExitCode::CheckNotMet;
};

/// What one server has left.
struct PartResult {
    PartFiles files;
    bool hasCrashed = false;     // on command; then there is no report
    bool areErrorsKnown = true;  // to their last one
};

/// What a run has left for its expectations.
struct Outcome {
    std::vector<PartResult> parts;
    std::map<std::string, int> ends;  // wait statuses of the programs that ended by themselves
    std::map<std::string, std::string> logs;  // files, by program
    std::vector<TimeError> errors;
    std::optional<Problem> problem;

    /// The exit status of the command.
    [[nodiscard]] ExitCode code(bool areAllMet) const {
        if (problem) return problem->code;
        return areAllMet ? ExitCode::Done : ExitCode::CheckNotMet;
    }
};

}  // namespace cabinaudio::tool::scenario
