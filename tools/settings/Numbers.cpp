// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Numbers.h"

#include <algorithm>
#include <cctype>

namespace cabinaudio::tool {

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::size_t begin = 0;
    for (;;) {
        const std::size_t end = text.find(separator, begin);
        parts.push_back(text.substr(begin, end - begin));
        if (end == std::string::npos) return parts;
        begin = end + 1;
    }
}

bool isSameWord(std::string_view left, std::string_view right) {
    const auto isSame = [](unsigned char one, unsigned char other) {
        return std::tolower(one) == std::tolower(other);
    };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), isSame);
}

bool takeUnit(std::string_view& text, std::string_view unit) {
    if (unit.empty() || text.size() < unit.size()) return false;
    if (!isSameWord(text.substr(text.size() - unit.size()), unit)) return false;
    text.remove_suffix(unit.size());
    return true;
}

double decimal(float number) {
    char text[64];
    const auto written = std::to_chars(text, text + sizeof text, number);
    double result = 0;
    std::from_chars(text, written.ptr, result);
    return result;
}

}  // namespace cabinaudio::tool
