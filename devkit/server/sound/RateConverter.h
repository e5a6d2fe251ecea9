// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <samplerate.h>

#include <cstddef>
#include <cstdint>

namespace cabinaudio::server {

/// Converts the frames of one stream to the output's rate, in pieces.
class RateConverter {
public:
    struct Progress {
        std::size_t taken;    // input frames
        std::size_t written;  // output frames
    };

    /// @throws std::runtime_error when libsamplerate refuses
    RateConverter(unsigned channels, std::uint32_t inputRate, std::uint32_t outputRate);
    ~RateConverter();
    RateConverter(const RateConverter&) = delete;
    RateConverter& operator=(const RateConverter&) = delete;

    /// Takes all input, even what it cannot use yet, and writes as much as it can.
    Progress convert(const float* in, std::size_t inFrames, float* out, std::size_t outFrames);
    /// Writes output from input taken earlier. @return output frames
    std::size_t takeOut(float* out, std::size_t outFrames);
    /// After the last input: writes the rest of the filter's content; 0 when nothing is left.
    std::size_t flush(float* out, std::size_t outFrames);
    /// Returns to the initial state: the next frame starts a new sound.
    void reset();

private:
    Progress process(const float* in, std::size_t inFrames, float* out, std::size_t outFrames,
                     bool isEnd);

    SRC_STATE* mState;
    double mRatio;
};

}  // namespace cabinaudio::server
