// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"

#include <chrono>
#include <string>

namespace cabinaudio::tool {

struct ScenarioOptions {
    std::string file;
    std::string junitFile;                    // empty: none is written
    std::string keepDirectory;                // empty: results are kept only of a failure
    std::chrono::milliseconds timeout{5000};  // unused: a scenario's file has its patience
};

/// Runs a scenario against a private server, and prints a line for each expectation.
/// @return CheckNotMet when an expectation is not met or time had an error
[[nodiscard]] ExitCode run(const ScenarioOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
