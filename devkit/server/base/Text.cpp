// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/base/Text.h"

#include "devkit/text/Printable.h"

#include <algorithm>
#include <charconv>

namespace cabinaudio::server {

std::string printable(std::string_view text) {
    return text::printableInQuotes(text);
}

std::optional<std::uint64_t> numberIn(std::string_view text, std::uint64_t most) {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    const bool isNumber = error == std::errc() && rest == end && number <= most;
    return isNumber ? std::make_optional(number) : std::nullopt;
}

std::string fileName(std::string_view name) {
    const auto allowed = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '-' || c == '_' || c == '.';
    };
    std::string result(name.substr(0, 64));
    std::replace_if(
        result.begin(), result.end(), [&](char c) { return !allowed(c); }, '_');
    return result.empty() || result.front() == '.' ? '_' + result : result;
}

}  // namespace cabinaudio::server
