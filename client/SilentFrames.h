// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

/// Coded silence that an uplink returns while there is no live data.
namespace cabinaudio {

inline constexpr std::uint32_t MSBC_FRAME_BYTES = 57;

/// One mSBC frame of silence.
extern const std::uint8_t msbc_silent[MSBC_FRAME_BYTES];

/// One Opus packet of silence behind its 8-byte header: the packet's length, big-endian, and four
/// bytes defined by the server. Empty for a sample rate without a packet.
std::span<const std::uint8_t> opusSilence(std::uint32_t sampleRate);

}  // namespace cabinaudio
