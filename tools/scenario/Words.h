// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Scenario.h"

#include <string_view>

namespace cabinaudio::tool::scenario {

/// Words of one line, and what is wrong with its quotes; an empty fault if nothing is.
struct Line {
    Words words;
    std::string fault;
};

/// Splits a line at blanks and tabs, as a shell does: '...' is literal, "..." takes \" and \\, a
/// backslash makes the next character ordinary, and a word that begins with # starts a comment.
/// Nothing is expanded.
[[nodiscard]] Line splitLine(std::string_view text);

}  // namespace cabinaudio::tool::scenario
