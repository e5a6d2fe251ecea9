// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"

#include <chrono>
#include <string>
#include <vector>

namespace cabinaudio::tool {

struct CheckServerOptions {
    std::vector<std::string> only;  // patterns of the shell for rule names; empty: all
    std::vector<std::string> skip;
    bool isSafe = false;                      // rules that only read
    bool writeOnly = false;                   // settings that cannot be read are sent, too
    bool isList = false;                      // print the rules instead of checking them
    std::string junitFile;                    // to be written; empty: none
    std::chrono::milliseconds timeout{5000};  // of every wait for the server
};

/// @return why these options conflict; empty when they do not
[[nodiscard]] std::string optionFault(const CheckServerOptions& options);

/// Checks the rules of the protocol against the server that listens.
/// @return CheckNotMet when a rule does not hold
/// @throws Failure without a server, and when a pattern matches no rule
[[nodiscard]] ExitCode run(const CheckServerOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
