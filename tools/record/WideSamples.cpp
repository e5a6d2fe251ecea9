// SPDX-License-Identifier: Apache-2.0
#include "tools/record/WideSamples.h"

#include <cstddef>

namespace cabinaudio::tool {

void widen(AudioBitDepthType depth, std::span<const std::uint8_t> bytes,
           std::vector<std::int32_t>& samples) {
    const auto width = static_cast<std::size_t>(AudioTypes::getBytesPerSample(depth));
    samples.resize(bytes.size() / width);
    const std::uint8_t* next = bytes.data();
    for (std::int32_t& sample : samples) {
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < width; ++i)
            bits = bits >> 8 | std::uint32_t{*next++} << 24;
        if (width == 1) bits ^= 0x80000000u;
        sample = static_cast<std::int32_t>(bits);
    }
}

}  // namespace cabinaudio::tool
