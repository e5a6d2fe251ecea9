// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace cabinaudio::server {

/// An amplitude (1 is full scale) in the protocol's unit.
[[nodiscard]] inline std::uint32_t millionths(float amplitude) {
    // Clamped above any possible sum of streams.
    return static_cast<std::uint32_t>(std::clamp(std::round(double{amplitude} * 1e6), 0.0, 4e9));
}

}  // namespace cabinaudio::server
