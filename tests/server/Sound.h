// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// A WAV file. Samples are interleaved and fill 32 bits whatever the file has; they are exact for
/// every integer format.
struct Wav {
    unsigned rate = 0;
    unsigned channels = 0;
    int subformat = 0;  // SF_FORMAT_PCM_16 ...
    std::vector<std::int32_t> samples;

    [[nodiscard]] std::size_t frames() const { return samples.size() / channels; }
    /// One channel as floats, from 1.0 to -1.0.
    [[nodiscard]] std::vector<float> channel(unsigned index) const;
};

/// @throws std::runtime_error when it is no WAV file
Wav readWav(const std::string& path);

/// Writes 16-bit samples. @throws std::runtime_error
void writeWav(const std::string& path, unsigned rate, unsigned channels,
              const std::vector<std::int16_t>& samples);

/// Samples that never repeat in a test, so that a lost or doubled one is seen.
std::vector<std::int16_t> noise16(std::size_t count, std::uint32_t seed = 1);

/// A sine of half full scale.
std::vector<std::int16_t> sine16(double frequency, unsigned rate, std::size_t count,
                                 double amplitude = 0.5);

/// Voiced syllables with gliding pitch, as good as speech for a codec.
std::vector<std::int16_t> speech16(unsigned rate, std::size_t count);

/// How alike two sounds are at the best shift of `later` by 0 to `maximumLag` samples: 1 for equal
/// shapes, 0 for unrelated ones.
double correlation(const std::vector<std::int16_t>& sooner, const std::vector<std::int16_t>& later,
                   std::size_t maximumLag);

/// Interleaves one channel into several that are the same.
template <typename Sample>
std::vector<Sample> repeated(const std::vector<Sample>& mono, unsigned channels) {
    std::vector<Sample> result;
    for (const Sample sample : mono)
        result.insert(result.end(), channels, sample);
    return result;
}

/// Amplitude of one frequency in a piece of sound that is a sine.
double amplitudeOf(double frequency, unsigned rate, const float* samples, std::size_t count);

template <typename Sample>
unsigned char* bytesPointer(std::vector<Sample>& samples) {
    return reinterpret_cast<unsigned char*>(samples.data());
}
template <typename Sample>
int byteCount(const std::vector<Sample>& samples) {
    return static_cast<int>(samples.size() * sizeof(Sample));
}

}  // namespace cabinaudio::test
