// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace cabinaudio {

/// The codec types of an uplink, AudioFormatDesc::codecType.
constexpr std::uint32_t CODEC_PCM = 0;
constexpr std::uint32_t CODEC_LOAS = 16;
constexpr std::uint32_t CODEC_OPUS = 32;
constexpr std::uint32_t CODEC_MSBC = 65;

constexpr std::uint32_t LOAS_HEADER_BYTES = 3;
constexpr std::uint32_t OPUS_HEADER_BYTES = 8;

/// Whether each frame begins with a header that contains the frame's length.
constexpr bool isFramed(std::uint32_t codec) {
    return codec == CODEC_LOAS || codec == CODEC_OPUS;
}

}  // namespace cabinaudio
