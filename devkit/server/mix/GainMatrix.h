// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/mix/Ramp.h"
#include "devkit/server/mix/StreamGains.h"
#include "devkit/server/sound/ChannelMatrix.h"

#include <cstddef>
#include <vector>

namespace cabinaudio::server {

/// How the channels of a stream reach the channels of the output, and how loud: a ChannelMatrix
/// whose factors have gains that change smoothly.
class GainMatrix {
public:
    /// Without gains.
    GainMatrix(std::size_t inputs, std::size_t outputs);

    void set(const StreamGains& gains, const RampFrames& ramp);

    /// Adds `frames` interleaved input frames to as many output frames. Where all gains are 1
    /// nothing is multiplied, see ChannelMatrix::add().
    void add(const float* in, std::size_t frames, float* out);

    /// Whether nothing is heard, but for the end of a ramp.
    [[nodiscard]] bool isSilent() const;

private:
    [[nodiscard]] bool isPlain() const;

    std::size_t mInputs;
    std::size_t mOutputs;
    ChannelMatrix mRoute;
    bool mIsUpMixed = false;
    std::vector<Ramp> mFactors;  // a row for each output
};

}  // namespace cabinaudio::server
