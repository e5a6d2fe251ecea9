// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

namespace cabinaudio::tool {

/// Rate in which the Opus container counts, whatever the sound's own is.
constexpr std::uint32_t kOpusClock = 48000;

/// A packet without the header that streams put in front of it; empty when there is nothing else.
[[nodiscard]] std::span<const std::uint8_t> opusPayload(std::span<const std::uint8_t> frame);

/// Duration of a packet in samples of the above (RFC 6716, section 3); 0 for what is none.
[[nodiscard]] std::uint32_t opusSamples(std::span<const std::uint8_t> packet);

/// Whether a stream's frame is what the library gives while there is no sound.
[[nodiscard]] bool isOpusSilence(std::span<const std::uint8_t> frame);

}  // namespace cabinaudio::tool
