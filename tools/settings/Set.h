// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Session.h"

#include <string>
#include <vector>

namespace cabinaudio::tool {

struct SetOptions : SettingsOptions {
    std::vector<std::string> assignments;  // NAME=VALUE ..., or - for lines on standard input
    std::vector<std::string> files;        // files with such lines
};

/// Changes settings in the given order; NAME+=AMOUNT and the like start from the present value.
/// Sends nothing unless all names and values are valid.
[[nodiscard]] ExitCode run(const SetOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
