// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/time/TimeOptions.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <string_view>

namespace cabinaudio::server {

class Mixer;

/// Frames of the output after `ms`, rounded down.
constexpr std::uint64_t framesAt(std::uint64_t ms, std::uint32_t rate) {
    return ms * rate / 1000;
}

/// Time of a frame, rounded up: framesAt() of the result is not before the frame, and a time that
/// was given in milliseconds comes out again.
constexpr std::uint64_t millisecondsAt(std::uint64_t frame, std::uint32_t rate) {
    return (frame * 1000 + rate - 1) / rate;
}

/// The time that is the whole text, in milliseconds, up to a day; empty if it is no such time.
std::optional<std::uint64_t> timeIn(std::string_view text);

/// The description of time that passes by itself.
nlohmann::json describeClock(TimeMode mode, bool isPassing, const Mixer& mixer);

}  // namespace cabinaudio::server
