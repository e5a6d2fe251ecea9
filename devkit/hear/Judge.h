// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Recording.h"

#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::hear {

/// The result of a check.
struct Verdict {
    std::string check;  // as written
    bool isMet = false;
    double from = 0;  // seconds: the range that was looked at
    double to = 0;
    std::string measured;      // "-12.1 dBFS"
    std::string required;      // "-12 dBFS +-0.5 dB"
    std::string text;          // the line for a person: measured, required and range
    std::optional<double> at;  // seconds: the place of the fault, where there is one place
};

/// Applies to all checks of a call.
struct JudgeOptions {
    std::optional<unsigned> channel;  // for checks without "on CHANNEL": this one only, from 0
};

/// Makes the checks, in this order. The texts are described in docs/checks.md.
/// @throws Error when a text is no check, with the word at fault, before any check is made; or when
///         a check cannot be made: it needs a report, a file or a channel that is not there
[[nodiscard]] std::vector<Verdict> judge(const Recording& recording,
                                         const std::vector<std::string>& checks,
                                         const JudgeOptions& options = {});

/// The time up to which a check looks at a sound of this rate, in seconds; empty: to its end.
/// @throws Error when the text is no check
[[nodiscard]] std::optional<double> neededSeconds(const std::string& check, unsigned rate);

}  // namespace cabinaudio::hear
