// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <cstdint>
#include <span>
#include <vector>

namespace cabinaudio::tool {

/// Converts a stream's samples (little-endian; 8 bits unsigned, others signed) to 32-bit numbers,
/// left-justified, without loss.
void widen(AudioBitDepthType depth, std::span<const std::uint8_t> bytes,
           std::vector<std::int32_t>& samples);

}  // namespace cabinaudio::tool
