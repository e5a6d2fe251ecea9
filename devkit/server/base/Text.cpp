// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/base/Text.h"

#include "devkit/text/Printable.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace cabinaudio::server {

std::string format(const char* text, ...) {
    char buffer[512];
    std::va_list arguments;
    va_start(arguments, text);
    std::vsnprintf(buffer, sizeof buffer, text, arguments);
    va_end(arguments);
    return buffer;
}

std::string printable(std::string_view text) {
    return text::printableInQuotes(text);
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
