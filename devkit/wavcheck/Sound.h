// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace cabinaudio::wavcheck {

/// A sound in memory: interleaved samples between -1 and 1.
struct Sound {
    int rate = 0;  // Hz
    int channels = 0;
    int bits = 0;  // of linear PCM, which is stored exactly; 0 for other encodings
    std::vector<double> samples;

    [[nodiscard]] std::size_t frames() const {
        return samples.size() / static_cast<std::size_t>(channels);
    }
};

/// Reads a whole file of any format that libsndfile supports.
/// @throws std::runtime_error with the path and the reason
Sound readSound(const std::string& path);

/// The sound at another rate.
Sound atRate(const Sound& sound, int rate);

}  // namespace cabinaudio::wavcheck
