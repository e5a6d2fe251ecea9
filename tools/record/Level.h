// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace cabinaudio::tool {

/// The largest sample, 0 to 1; empty while there are no samples.
using Level = std::optional<double>;

/// Raises `level` to the largest sample, if that is larger.
void raise(Level& level, std::span<const std::int32_t> samples);

/// In decibels relative to full scale; -120 for silence.
[[nodiscard]] double decibels(double peak);

}  // namespace cabinaudio::tool
