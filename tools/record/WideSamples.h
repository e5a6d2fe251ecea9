// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <cstdint>
#include <span>
#include <vector>

namespace cabinaudio::tool {

/// Turns a stream's samples (little-endian; 8 bits unsigned, else signed) into 32-bit numbers,
/// left-justified. Without loss.
void widen(AudioBitDepthType depth, std::span<const std::uint8_t> bytes,
           std::vector<std::int32_t>& samples);

}  // namespace cabinaudio::tool
