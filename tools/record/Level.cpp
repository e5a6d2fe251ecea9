// SPDX-License-Identifier: Apache-2.0
#include "tools/record/Level.h"

#include <algorithm>
#include <cmath>

namespace cabinaudio::tool {

void raise(Level& level, std::span<const std::int32_t> samples) {
    std::int64_t loudest = 0;
    for (const std::int32_t sample : samples)
        loudest = std::max(loudest, std::abs(std::int64_t{sample}));
    if (samples.empty()) return;
    level = std::max(level.value_or(0), std::ldexp(static_cast<double>(loudest), -31));
}

double decibels(double peak) {
    constexpr double FLOOR = -120;
    return peak <= 0 ? FLOOR : std::max(FLOOR, 20 * std::log10(peak));
}

}  // namespace cabinaudio::tool
