// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/server/Sound.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace cabinaudio::test {

/// Little-endian samples of whichever size, with noise in all of their bytes.
inline std::vector<unsigned char> noiseBytes(std::size_t count) {
    const std::vector<std::int16_t> noise = noise16(count / 2 + 1);
    std::vector<unsigned char> bytes(count);
    std::memcpy(bytes.data(), noise.data(), count);
    return bytes;
}

/// Little-endian samples as Wav::samples shows them. @param width  of one, in bytes
inline std::vector<std::int32_t> wideBytes(const std::vector<unsigned char>& bytes,
                                           std::size_t width) {
    std::vector<std::int32_t> samples;
    for (std::size_t place = 0; place + width <= bytes.size(); place += width) {
        std::uint32_t sample = 0;
        for (std::size_t b = 0; b < width; ++b)
            sample |= std::uint32_t{bytes[place + b]} << (32 - 8 * width + 8 * b);
        if (width == 1) sample ^= 0x80000000U;  // bytes are unsigned
        samples.push_back(static_cast<std::int32_t>(sample));
    }
    return samples;
}

/// Whether a file has these samples, and what else it should have.
inline testing::AssertionResult holds(const Wav& file, unsigned rate, unsigned channels,
                                      const std::vector<std::int32_t>& samples) {
    if (file.rate != rate || file.channels != channels)
        return testing::AssertionFailure() << file.rate << " Hz, " << file.channels << " channels";
    if (file.samples == samples) return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << file.samples.size() << " samples instead of " << samples.size() << ", or others";
}

}  // namespace cabinaudio::test
