// SPDX-License-Identifier: Apache-2.0
#include "testing/src/Text.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

namespace cabinaudio::testing {

std::string contentsOf(const std::string& path) {
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (file) text << file.rdbuf();
    return text.str();
}

std::string lastLinesOf(const std::string& text, std::size_t count) {
    std::size_t begin = text.size();
    if (begin != 0 && text.back() == '\n') --begin;
    for (; begin != 0; --begin)
        if (text[begin - 1] == '\n' && --count == 0) break;
    return text.substr(begin);
}

std::string shortNumber(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", number);
    return text;
}

std::string environmentValue(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string withReason(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

}  // namespace cabinaudio::testing
