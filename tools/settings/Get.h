// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Session.h"

#include <string>
#include <vector>

namespace cabinaudio::tool {

struct GetOptions : SettingsOptions {
    std::vector<std::string> names;  // or patterns; none: all
    bool inSteps = false;            // gains that can be given in steps
    bool valueOnly = false;          // without names
};

/// Prints settings as `name=value` lines that the set command accepts. Read-only settings get a
/// leading '#'.
[[nodiscard]] ExitCode run(const GetOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
