// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Session.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::tool {

struct MonitorOptions : SettingsOptions {
    std::vector<std::string> names;  // or patterns; none: all but meters
    std::chrono::milliseconds interval{500};
    std::optional<std::uint64_t> count;  // end after this many changes
};

/// Prints settings that change, until a signal. The development server notifies every change; other
/// servers are polled.
[[nodiscard]] ExitCode run(const MonitorOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
