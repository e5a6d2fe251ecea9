// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>

namespace cabinaudio::server {

/// Step of the server: its clock's interval, and the amount that clients are asked to write at
/// once.
/// once.
inline constexpr std::chrono::milliseconds PERIOD(16);

/// Most periods that a clock makes up for at once. After a longer pause of the whole machine the
/// rest of the lost time is skipped.
inline constexpr std::uint64_t MAXIMUM_CATCH_UP = 8;

/// Frames of a period, rounded up.
constexpr std::uint32_t framesOfPeriod(std::uint32_t rate) {
    return static_cast<std::uint32_t>((std::uint64_t{rate} * PERIOD.count() + 999) / 1000);
}

/// Frames counted by a clock of this rate after `periods` periods, rounded down. The difference
/// between two successive counts is the length of one period. It alternates where a period is not a
/// whole number of frames, so the count never drifts.
constexpr std::uint64_t framesOfPeriods(std::uint32_t rate, std::uint64_t periods) {
    return rate * periods * static_cast<std::uint64_t>(PERIOD.count()) / 1000;
}

}  // namespace cabinaudio::server
