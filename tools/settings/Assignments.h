// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Directory.h"

#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// One request of set.
struct Assignment {
    Named named;
    Value value;
    std::optional<Value> partner = {};  // of the setting that goes with it
    std::string text = {};              // "fade=20 balance=-10"
};

/// The words, in their order, with the lines of standard input in the place of "-", and the lines
/// of the files behind them. Without empty ones and those that begin with '#'.
/// @throws Failure when a file cannot be read
[[nodiscard]] std::vector<std::string> readAssignments(const std::vector<std::string>& words,
                                                       const std::vector<std::string>& files);

/// @throws Failure with ExitCode::Usage about the first that is wrong
[[nodiscard]] std::vector<Assignment> parseAssignments(const Directory& directory,
                                                       const std::vector<std::string>& words);

}  // namespace cabinaudio::tool
