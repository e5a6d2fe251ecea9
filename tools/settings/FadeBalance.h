// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <optional>

namespace cabinaudio::tool {

/// Fade and balance, -100 to 100 each.
struct Position {
    int fade = 0;
    int balance = 0;
};

/// The server stores channel volumes only. Returns the position nearest to the middle that gives
/// these volumes; empty if none does, because the channels were set one by one.
/// @param gains  of LF, RF, LS and RS, in dB
[[nodiscard]] std::optional<Position> positionOf(const std::array<float, 4>& gains);

}  // namespace cabinaudio::tool
