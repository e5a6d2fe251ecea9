// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Scenario.h"

#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::tool::scenario {

/// The longest time of a scenario: a day.
inline constexpr std::uint64_t LONGEST_MS = 86400000;

/// Reads "2000" (milliseconds), "96000f" (frames of the output), or either with a "+" before it.
/// @param rate    of the output
/// @param before  the start of a time with a "+"; begins a millisecond
/// @return empty when the text is no time, or one after LONGEST_MS
[[nodiscard]] std::optional<Moment> momentOf(const std::string& text, unsigned rate,
                                             const Moment& before);

/// The moment in milliseconds, for people: rounded down.
[[nodiscard]] std::uint64_t milliseconds(const Moment& moment, unsigned rate);

}  // namespace cabinaudio::tool::scenario
