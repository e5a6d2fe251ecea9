// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Session.h"

#include <string>
#include <vector>

namespace cabinaudio::tool {

struct SetOptions : SettingsOptions {
    std::vector<std::string> assignments;  // NAME=VALUE, or - for lines on standard input
    std::vector<std::string> files;        // of such lines
};

/// Changes settings, in this order. Nothing is sent unless all names and values are right.
[[nodiscard]] ExitCode run(const SetOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
