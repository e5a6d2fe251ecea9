// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/mix/Ramp.h"
#include "devkit/server/mix/StreamGains.h"
#include "devkit/server/sound/ChannelMatrix.h"

#include <cstddef>
#include <span>
#include <vector>

namespace cabinaudio::server {

/// Maps the channels of a stream to those of the output, with gains: a ChannelMatrix whose factors
/// change smoothly.
class GainMatrix {
public:
    /// All gains are 1.
    GainMatrix(std::size_t inputs, std::size_t outputs);

    void set(const StreamGains& gains, const RampFrames& ramp);

    /// Adds `frames` interleaved input frames to as many output frames. Factors of 1 do not
    /// multiply, see ChannelMatrix::add().
    void add(const float* in, std::size_t frames, float* out);

    /// Highest amplitude that add() adds to a channel of the output, with the factors that these
    /// frames end with.
    /// @param peaks  of the input's channels in these frames
    [[nodiscard]] float peakOf(const float* in, std::size_t frames,
                               std::span<const float> peaks) const;

    /// Whether the output is silent, except for the end of a ramp.
    [[nodiscard]] bool isSilent() const;

private:
    [[nodiscard]] bool isPlain() const;
    [[nodiscard]] float peakOfSum(const float* in, std::size_t frames, std::size_t output) const;

    std::size_t mInputs;
    std::size_t mOutputs;
    ChannelMatrix mRoute;
    bool mIsUpMixed = false;
    std::vector<Ramp> mFactors;  // a row per output channel
};

}  // namespace cabinaudio::server
