// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sndfile.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// What a file is made of; `format` as libsndfile has it.
struct SoundShape {
    int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    int rate = 48000;
    int channels = 2;
    std::size_t frames = 0;
};

/// Writes noise that never is 0 and differs from frame to frame, so that a lost or doubled sample
/// shows. Throws std::runtime_error when the file cannot be written.
void writeSound(const std::string& path, const SoundShape& shape);

/// A whole file as 32-bit numbers, left-justified; files of floating-point numbers are scaled.
struct Sound {
    SF_INFO info;
    std::vector<std::int32_t> samples;  // interleaved
};

[[nodiscard]] Sound readSound(const std::string& path);

/// What an Ogg file becomes with 16 bits, left-justified.
[[nodiscard]] std::vector<std::int32_t> decodedTo16Bits(const std::string& path);

/// `sound` without the zeros in front of and behind it.
[[nodiscard]] std::vector<std::int32_t> withoutSilence(std::vector<std::int32_t> sound);

}  // namespace cabinaudio::test
