// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::tool {

struct CheckOptions {
    std::vector<std::string> words;  // the file unless `isLive`, then checks
    bool isLive = false;             // a running server is heard, not a file
    std::string reportFile;          // of the server; empty: none
    std::string stemDirectory;       // empty: as the report says
    std::string checksFile;          // with one check a line; empty: none
    std::optional<int> channel;      // for checks without one
    std::optional<double> seconds;   // of sound that is heard live; empty: as long as checks need
    std::string junitFile;           // to be written; empty: none
    std::string pictureFile;
    std::chrono::milliseconds timeout{5000};  // for each part of the live sound
};

/// @return why these options conflict; empty when they do not
[[nodiscard]] std::string optionFault(const CheckOptions& options);

/// Checks what a file contains, or what the development server plays.
/// @return CheckNotMet when a check is not met
/// @throws Failure when a check cannot be made
[[nodiscard]] ExitCode run(const CheckOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
