// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace cabinaudio::server {

/// Number of loudspeakers with a name: LF, RF, LS, RS, CF, L1.
inline constexpr std::size_t LOUDSPEAKERS = 6;

/// Bit of a loudspeaker in masks of audio_channel_idx_e; 0 for a loudspeaker without a name.
constexpr std::uint32_t maskOf(std::size_t loudspeaker) {
    return loudspeaker < LOUDSPEAKERS ? std::uint32_t{1} << loudspeaker : 0;
}

/// Loudspeakers that a channel of an output with `channels` channels feeds. A mono output feeds
/// both front loudspeakers.
constexpr std::uint32_t maskOf(std::size_t channel, std::size_t channels) {
    return channels == 1 ? maskOf(0) | maskOf(1) : maskOf(channel);
}

}  // namespace cabinaudio::server
