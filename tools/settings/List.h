// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Session.h"

#include <string>
#include <vector>

namespace cabinaudio::tool {

struct ListOptions : SettingsOptions {
    std::vector<std::string> words;  // patterns of names, or words of names and descriptions
    bool namesOnly = false;
    bool readable = false;  // list readable settings only
    bool settable = false;
};

/// Prints the settings: name, range, access and description. Also works without a server.
[[nodiscard]] ExitCode run(const ListOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
