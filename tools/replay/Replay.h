// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"

#include <chrono>
#include <string>
#include <vector>

namespace cabinaudio::tool {

struct ReplayOptions {
    std::string file;                          // the capture
    std::vector<std::string> application;      // to be started, with its arguments; empty: none
    bool asServer = false;                     // else as the recorded application
    bool keepsTiming = false;                  // else as fast as the other side answers
    std::vector<std::string> ignored;          // fields that are not compared
    std::string junitFile;                     // to be written; empty: none
    std::chrono::milliseconds timeout{10000};  // for each step of the other side
};

/// @return why these options conflict; empty when they do not
[[nodiscard]] std::string optionFault(const ReplayOptions& options);

/// Plays one side of a recorded conversation and reports what the other side does differently.
/// @return CheckNotMet when something differs
/// @throws Failure when the replay cannot be made
[[nodiscard]] ExitCode run(const ReplayOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
