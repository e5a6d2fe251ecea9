// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace cabinaudio::server {

/// Maps the channels of a stream to those of the output.
///
/// Channels stand for loudspeakers in the order left front, right front, left surround, right
/// surround, centre, low-frequency; channels beyond six have numbers only. A channel goes to its
/// own loudspeaker. If the output lacks it, the channel is folded: a surround channel into the
/// front one of its side, centre and low-frequency into both front ones, each 3 dB down. A mono
/// stream plays in both front loudspeakers at full level. With up-mixing, one or two channels play
/// in the surround loudspeakers as in the front ones. Then each output channel is scaled so that
/// its factors add up to at most 1: folding never clips, and stereo becomes the average in a mono
/// output.
class ChannelMatrix {
public:
    /// Both numbers are at least 1.
    ChannelMatrix(std::size_t inputs, std::size_t outputs, bool isUpMixed = false);

    /// Adds `frames` interleaved input frames to as many output frames. A channel with factor 1 is
    /// added bit-exactly.
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
    std::vector<float> mFactors;  // a row per output channel
    bool mIsIdentity;
};

}  // namespace cabinaudio::server
