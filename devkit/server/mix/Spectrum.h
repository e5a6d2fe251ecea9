// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace cabinaudio::server {

/// Power of a piece of sound by frequency.
class Spectrum {
public:
    /// @param size  samples that are looked at; even
    explicit Spectrum(std::size_t size);
    ~Spectrum();
    Spectrum(const Spectrum&) = delete;
    Spectrum& operator=(const Spectrum&) = delete;

    [[nodiscard]] std::size_t size() const { return mWindow.size(); }

    /// @param samples  as many as size()
    /// @return a power for each of size() / 2 + 1 frequencies, a step of rate / size() apart; their
    ///         sum is the mean square of the samples under a window that fades both ends out.
    ///         Valid until the next call.
    std::span<const float> powersOf(std::span<const float> samples);

private:
    struct Transform;

    std::vector<float> mWindow;
    std::unique_ptr<Transform> mTransform;
    std::vector<float> mPowers;
};

}  // namespace cabinaudio::server
