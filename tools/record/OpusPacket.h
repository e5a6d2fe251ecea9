// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

namespace cabinaudio::tool {

/// Clock rate of the Opus container, whatever the sound's own rate is.
constexpr std::uint32_t OPUS_CLOCK = 48000;

/// A packet without the stream's header; empty when nothing follows the header.
[[nodiscard]] std::span<const std::uint8_t> opusPayload(std::span<const std::uint8_t> frame);

/// Duration of a packet in samples of OPUS_CLOCK (RFC 6716, section 3); 0 if it is invalid.
[[nodiscard]] std::uint32_t opusSamples(std::span<const std::uint8_t> packet);

/// Whether a stream's frame is the library's substitute for silence.
[[nodiscard]] bool isOpusSilence(std::span<const std::uint8_t> frame);

}  // namespace cabinaudio::tool
