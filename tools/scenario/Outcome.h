// SPDX-License-Identifier: Apache-2.0
#pragma once

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

/// What ended a scenario early: a wait that took too long, or an action that failed.
struct Problem {
    unsigned line = 0;  // 0: of no line
    std::string text;
};

/// What one server has left.
struct PartResult {
    PartFiles files;
    bool hasCrashed = false;  // on command; then there is no report
};

/// What a run has left for its expectations.
struct Outcome {
    std::vector<PartResult> parts;
    std::map<std::string, int> ends;  // wait statuses of the programs that ended by themselves
    std::map<std::string, std::string> logs;  // files, by program
    std::vector<TimeError> errors;
    std::optional<Problem> problem;
};

}  // namespace cabinaudio::tool::scenario
