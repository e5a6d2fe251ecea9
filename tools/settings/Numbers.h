// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <charconv>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

/// Parts of the texts of values.
namespace cabinaudio::tool {

[[nodiscard]] std::vector<std::string> split(const std::string& text, char separator);

[[nodiscard]] inline bool isSign(char letter) {
    return letter == '+' || letter == '-';
}

/// Compares ASCII text, ignoring case.
[[nodiscard]] bool isSameWord(std::string_view left, std::string_view right);

/// Removes a unit, ignoring case. @return whether it was present
bool takeUnit(std::string_view& text, std::string_view unit);

/// Reads a number that takes the whole text and may have one sign. @return whether there is one
template <typename Number>
[[nodiscard]] bool parseNumber(std::string_view text, Number& number) {
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-') return false;
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && !text.empty();
}

/// The shortest decimal value of the float, not the exact double: -6.4.
[[nodiscard]] double decimal(float number);

}  // namespace cabinaudio::tool
