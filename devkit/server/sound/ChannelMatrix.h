// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace cabinaudio::server {

/// How the channels of a stream reach the channels of the output.
///
/// Channels stand for loudspeakers in the order left front, right front, left surround, right
/// surround, centre, low-frequency; more than six are numbered and nothing else. A channel goes
/// to the loudspeaker of its place. Where the output lacks it, it is folded: a surround channel
/// into the front one of its side, centre and low-frequency into both front ones, each 3 dB down.
/// One channel alone plays in both front loudspeakers at full level. Up-mixed, one or two channels
/// play in the surround loudspeakers as they do in front. Then each output channel is
/// scaled so that its factors add up to 1 at most: folding never clips, and stereo becomes the
/// average in a mono output.
class ChannelMatrix {
public:
    /// Both at least 1.
    ChannelMatrix(std::size_t inputs, std::size_t outputs, bool isUpMixed = false);

    /// Adds `frames` interleaved input frames to as many output frames. A channel that passes
    /// unchanged is added as it is, to the last bit.
    void add(const float* in, std::size_t frames, float* out) const;

    /// Factor from an input to an output.
    [[nodiscard]] float factor(std::size_t input, std::size_t output) const {
        return mFactors[output * mInputs + input];
    }

private:
    float& at(std::size_t input, std::size_t output) { return mFactors[output * mInputs + input]; }
    void fold(std::size_t input);
    void upMix();
    void limitRows();
    [[nodiscard]] bool isIdentity() const;

    std::size_t mInputs;
    std::size_t mOutputs;
    std::vector<float> mFactors;  // a row for each output
    bool mIsIdentity;
};

}  // namespace cabinaudio::server
