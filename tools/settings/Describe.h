// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Session.h"

#include <string>
#include <vector>

namespace cabinaudio::tool {

struct DescribeOptions : SettingsOptions {
    std::vector<std::string> names;  // also patterns, or names with placeholders from the table
    bool valuesOnly = false;         // words that values can be, for completion
};

/// Prints all that is known about settings. Also works without a server.
[[nodiscard]] ExitCode run(const DescribeOptions& options, const CommonOptions& common);

/// "rw", "r-", "-w"
[[nodiscard]] const char* accessLetters(const Setting& setting);
/// Short form for a table column: "-103.5..24dB".
[[nodiscard]] std::string shortRangeText(const Type& type);
[[nodiscard]] Json descriptionJson(const Named& named);

}  // namespace cabinaudio::tool
