// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>

namespace cabinaudio::server {

/// What the server does at once: the clock ticks, and clients are told to write, in this step.
inline constexpr std::chrono::milliseconds PERIOD(16);

/// Frames of a period, rounded up to whole ones.
constexpr std::uint32_t framesOfPeriod(std::uint32_t rate) {
    return static_cast<std::uint32_t>((std::uint64_t{rate} * PERIOD.count() + 999) / 1000);
}

/// Frames that a clock of this rate has counted after so many periods, rounded down. The difference
/// of two neighbours is the length of one period; it alternates where a period is no whole number
/// of frames, and then never drifts.
constexpr std::uint64_t framesOfPeriods(std::uint32_t rate, std::uint64_t periods) {
    return rate * periods * static_cast<std::uint64_t>(PERIOD.count()) / 1000;
}

}  // namespace cabinaudio::server
