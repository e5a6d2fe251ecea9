// SPDX-License-Identifier: Apache-2.0
#include "tools/Duration.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>

namespace cabinaudio::tool {

double milliseconds(std::chrono::nanoseconds duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

std::string secondsText(std::chrono::milliseconds duration) {
    char text[32];
    std::snprintf(text, sizeof text, "%g s", static_cast<double>(duration.count()) / 1000);
    return text;
}

std::string clockText(double seconds) {
    // Rounded to tenths first, so that 59.96 s becomes a minute.
    const auto tenths = static_cast<std::int64_t>(std::llround(seconds * 10));
    const std::int64_t hours = tenths / 36000;
    const std::int64_t minutes = tenths / 600 % 60;
    const double rest = static_cast<double>(tenths % 600) / 10;
    char text[48];
    if (hours != 0)
        std::snprintf(text, sizeof text, "%" PRId64 ":%02" PRId64 ":%04.1f", hours, minutes, rest);
    else
        std::snprintf(text, sizeof text, "%" PRId64 ":%04.1f", minutes, rest);
    return text;
}

}  // namespace cabinaudio::tool
