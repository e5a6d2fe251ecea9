// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Session.h"

#include <string>
#include <vector>

namespace cabinaudio::tool {

struct GetOptions : SettingsOptions {
    std::vector<std::string> names;  // or patterns; none: all
    bool inSteps = false;            // gains that come in steps
    bool valueOnly = false;          // no names
};

/// Prints settings as `name=value` lines, which set takes. What cannot be set has a '#' in front.
[[nodiscard]] ExitCode run(const GetOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
