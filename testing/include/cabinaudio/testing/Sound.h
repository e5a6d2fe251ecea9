// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace cabinaudio::testing {

/// Sound as numbers. Has no state but its fields; copies are independent.
struct Sound {
    unsigned rate = 0;      ///< Hz
    unsigned channels = 0;  ///< of a frame
    /// Interleaved; 1 is full scale.
    std::vector<float> samples = {};
    /// The file that it was read from; "" when there is none. Failing matchers name it.
    std::string path = {};

    [[nodiscard]] std::size_t frames() const {
        return channels == 0 ? 0 : samples.size() / channels;
    }
    /// Length in seconds; 0 without a rate.
    [[nodiscard]] double seconds() const {
        return rate == 0 ? 0.0 : static_cast<double>(frames()) / rate;
    }
    /// Greatest absolute sample in dB of full scale; minus infinity for silence.
    [[nodiscard]] double peakDb() const;
    /// One channel of it, from 0.
    /// @throws Failure when it has no such channel
    [[nodiscard]] Sound channel(unsigned number) const;
};

/// Reads a sound file: WAV, FLAC and what else libsndfile knows.
/// @throws Failure when the file cannot be read
[[nodiscard]] Sound readSound(const std::string& path);

/// "3.008 s, 48000 Hz, 2 channels, peak -8.7 dBFS": GoogleTest prints this instead of samples.
void PrintTo(const Sound& sound, std::ostream* out);

}  // namespace cabinaudio::testing
