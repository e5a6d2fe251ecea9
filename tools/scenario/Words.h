// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Scenario.h"

#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

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

/// A whole number and nothing else.
template <typename Number>
[[nodiscard]] std::optional<Number> numberOf(const std::string& text) {
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end) return std::nullopt;
    return number;
}

}  // namespace cabinaudio::tool::scenario
