// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace cabinaudio::server {

/// Power of a block of samples by frequency.
class Spectrum {
public:
    /// @param size  samples per block; even
    explicit Spectrum(std::size_t size);
    ~Spectrum();
    Spectrum(const Spectrum&) = delete;
    Spectrum& operator=(const Spectrum&) = delete;

    [[nodiscard]] std::size_t size() const { return mWindow.size(); }

    /// @param samples  size() samples
    /// @return powers of size() / 2 + 1 frequencies, rate / size() apart; their sum is the mean
    ///         square of the windowed samples. Valid until the next call
    std::span<const float> powersOf(std::span<const float> samples);

private:
    struct Transform;

    std::vector<float> mWindow;
    std::unique_ptr<Transform> mTransform;
    std::vector<float> mPowers;
};

}  // namespace cabinaudio::server
