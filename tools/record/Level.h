// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace cabinaudio::tool {

/// The loudest sample, 0 to 1; none while there was no sample.
using Level = std::optional<double>;

/// Takes the largest of both.
void raise(Level& level, std::span<const std::int32_t> samples);

/// In decibels relative to full scale; -120 for silence.
[[nodiscard]] double decibels(double peak);

}  // namespace cabinaudio::tool
