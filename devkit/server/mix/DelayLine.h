// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace cabinaudio::server {

/// Delays samples. Output from before the first delay was set is silence.
class DelayLine {
public:
    /// @param longest  in samples
    explicit DelayLine(std::size_t longest) : mLongest(longest) {}

    /// @param delay  in samples, limited to the longest
    void set(std::size_t delay) {
        mDelay = std::min(delay, mLongest);
        if (mDelay > 0 && mPast.empty()) mPast.resize(mLongest + 1);
    }
    [[nodiscard]] std::size_t delay() const { return mDelay; }

    float next(float sample) {
        if (mPast.empty()) return sample;
        mPast[mPosition] = sample;
        const std::size_t size = mPast.size();
        const float result = mPast[(mPosition + size - mDelay) % size];
        mPosition = (mPosition + 1) % size;
        return result;
    }

    /// Drops the samples that are still held.
    void clear() { std::fill(mPast.begin(), mPast.end(), 0.0F); }

private:
    std::size_t mLongest;
    std::size_t mDelay = 0;
    std::vector<float> mPast;  // ring buffer, empty until needed
    std::size_t mPosition = 0;
};

}  // namespace cabinaudio::server
