// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace cabinaudio::server {

/// An amplitude, 1 for full scale, as it travels.
[[nodiscard]] inline std::uint32_t millionths(float amplitude) {
    // Beyond what a sum of streams can reach it is a number all the same.
    return static_cast<std::uint32_t>(std::clamp(std::round(double{amplitude} * 1e6), 0.0, 4e9));
}

}  // namespace cabinaudio::server
