// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Session.h"

#include <string>

namespace cabinaudio::tool {

struct ViewOptions : SettingsOptions {
    int port = 0;            // 0: any that is free
    bool mayOpen = true;     // a browser, where there is a display
    std::string exportFile;  // ends in .svg or .png: only draws the picture of the moment
    bool isDark = false;     // the picture's background
};

/// @return why these options conflict; empty when they do not
[[nodiscard]] std::string optionFault(const ViewOptions& options);

/// Serves a page that shows the cabin and sets its settings, until a signal; or draws a picture.
[[nodiscard]] ExitCode run(const ViewOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
