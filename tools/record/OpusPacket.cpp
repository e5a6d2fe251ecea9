// SPDX-License-Identifier: Apache-2.0
#include "tools/record/OpusPacket.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace cabinaudio::tool {

namespace {

/// Samples per frame, from the packet's configuration: its first five bits.
std::uint32_t frameSamples(unsigned configuration) {
    constexpr std::array<std::uint32_t, 4> SPEECH = {480, 960, 1920, 2880};
    constexpr std::array<std::uint32_t, 2> HYBRID = {480, 960};
    constexpr std::array<std::uint32_t, 4> MUSIC = {120, 240, 480, 960};
    if (configuration < 12) return SPEECH[configuration % 4];
    if (configuration < 16) return HYBRID[configuration % 2];
    return MUSIC[configuration % 4];
}

/// Number of frames, from the last two bits of the first byte.
std::uint32_t frames(std::span<const std::uint8_t> packet) {
    switch (packet[0] & 3u) {
        case 0:
            return 1;
        case 3:
            return packet.size() > 1 ? packet[1] & 63u : 0;
        default:
            return 2;
    }
}

/// The length, and four bytes set by the server.
constexpr std::size_t HEADER = 8;

}  // namespace

std::span<const std::uint8_t> opusPayload(std::span<const std::uint8_t> frame) {
    return frame.subspan(std::min(frame.size(), HEADER));
}

bool isOpusSilence(std::span<const std::uint8_t> frame) {
    constexpr std::array<std::uint8_t, 2> EMPTY_FRAME = {0xFF, 0xFE};
    // Silence at 24000 Hz is a longer packet with its own mark.
    constexpr std::array<std::uint8_t, 4> MARK = {'s', 'u', 'p', 'o'};
    const auto payload = opusPayload(frame);
    if (payload.size() == 3) return std::equal(EMPTY_FRAME.begin(), EMPTY_FRAME.end(), &payload[1]);
    return payload.size() == 223 && std::equal(MARK.begin(), MARK.end(), &frame[4]);
}

std::uint32_t opusSamples(std::span<const std::uint8_t> packet) {
    constexpr std::uint32_t LONGEST = OPUS_CLOCK * 120 / 1000;
    if (packet.empty()) return 0;
    const std::uint32_t samples = frames(packet) * frameSamples(packet[0] >> 3);
    return samples <= LONGEST ? samples : 0;
}

}  // namespace cabinaudio::tool
