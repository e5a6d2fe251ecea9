// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

/// Numbers as the lines of checks show them.
namespace cabinaudio::hear {

/// With at most so many digits behind the point, and without zeros at the end: "-12", "0.5".
[[nodiscard]] std::string numberText(double value, int digits);

/// "1.250 s"
[[nodiscard]] std::string secondsText(double seconds);

/// "-12.03 dBFS"; "silence" for minus infinity
[[nodiscard]] std::string levelText(double db);

/// 20 log10; minus infinity for 0
[[nodiscard]] double decibels(double amplitude);
[[nodiscard]] double amplitudeOf(double db);

/// The frame at this time, rounded down as the server does.
[[nodiscard]] std::size_t frameAt(double seconds, unsigned rate);

}  // namespace cabinaudio::hear
