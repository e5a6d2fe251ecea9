// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Session.h"

#include <string>
#include <vector>

namespace cabinaudio::tool {

struct DescribeOptions : SettingsOptions {
    std::vector<std::string> names;  // or patterns, or names of the table with placeholders
};

/// Prints all that is known about settings. Works without a server, too.
[[nodiscard]] ExitCode run(const DescribeOptions& options, const CommonOptions& common);

/// "rw", "r-", "-w"
[[nodiscard]] const char* accessLetters(const Setting& setting);
/// As short as a column of a table has to be: "-103.5..24dB".
[[nodiscard]] std::string shortRangeText(const Type& type);
[[nodiscard]] Json descriptionJson(const Named& named);

}  // namespace cabinaudio::tool
