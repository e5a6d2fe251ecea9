// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Change.h"
#include "tools/settings/Directory.h"

#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// One request of the set command.
struct Assignment {
    Named named;
    Value value = {};                   // unless there is a change
    std::optional<Change> change = {};  // of the present value
    std::optional<Value> partner = {};  // value of the related setting, if merged
    std::string text = {};              // "fade=20 balance=-10"
};

/// The words in their order, with "-" replaced by the lines of standard input, followed by the
/// lines of the files. Empty lines and lines that begin with '#' are skipped.
/// @throws Failure when a file cannot be read, or has no other lines
[[nodiscard]] std::vector<std::string> readAssignments(const std::vector<std::string>& words,
                                                       const std::vector<std::string>& files);

/// @throws Failure with ExitCode::Usage for the first invalid assignment
[[nodiscard]] std::vector<Assignment> parseAssignments(const Directory& directory,
                                                       const std::vector<std::string>& words);

}  // namespace cabinaudio::tool
