// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// Sample types of the output, little-endian; s24 is packed into 3 bytes.
enum class SampleType { S16, S24, S32, Float };

/// "s16", "s24", "s32", "float".
const char* nameOf(SampleType type);
/// The type with this name.
std::optional<SampleType> sampleTypeOf(const std::string& name);

/// Bytes of a sample.
std::size_t sizeOf(SampleType type);

/// The largest value below full scale 1.0 that the type can hold; the smallest is -1.0. Float has
/// no limit of its own and counts as 1.0.
float largest(SampleType type);

/// Converts client samples to floats between -1 and 1. 8 (unsigned) to 24 bits convert exactly.
/// @param bytesPerSample  1 to 4
/// @param in              aligned for the sample, unless it has 3 bytes
void decodeSamples(unsigned bytesPerSample, const std::uint8_t* in, std::span<float> out);

/// Converts floats to output samples; values beyond full scale are clipped, except in floats. The
/// inverse of decodeSamples() at equal width.
void encodeSamples(SampleType type, std::span<const float> in, std::vector<std::uint8_t>& out);

/// Converts floats to client samples; values beyond full scale are clipped.
/// @param bytesPerSample  1 to 4
void encodeSamples(unsigned bytesPerSample, std::span<const float> in,
                   std::vector<std::uint8_t>& out);

}  // namespace cabinaudio::server
