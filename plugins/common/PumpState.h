// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace cabinaudio::plugin {

/// State of a pump.
///
///     Stopped --start()--> Running <--pause(), resume()--> Paused
///     Stopped, Running --drain()--> Draining --all was played--> Drained    (playback)
///     Running --nothing to play, no room for captured data--> Broken
///     any but Lost --prepare(), stop()--> Stopped
///     any --the stream is gone--> Lost (final)
enum class PumpState { Stopped, Running, Paused, Draining, Drained, Broken, Lost };

/// Interval of the I/O thread's turns while data moves: a program with a small buffer must learn
/// early that there is room, because the server comes again after one period.
[[nodiscard]] inline std::chrono::milliseconds turnFor(std::size_t bufferFrames, unsigned rate) {
    return std::clamp(std::chrono::milliseconds(bufferFrames * 250 / rate),
                      std::chrono::milliseconds(2), std::chrono::milliseconds(8));
}

/// The server moves data in periods of 16 ms; a stream may tell another length.
inline constexpr std::uint64_t USUAL_PERIOD_US = 16'000;

}  // namespace cabinaudio::plugin
