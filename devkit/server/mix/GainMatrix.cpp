// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/mix/GainMatrix.h"

#include <algorithm>

namespace cabinaudio::server {

GainMatrix::GainMatrix(std::size_t inputs, std::size_t outputs)
    : mInputs(inputs), mOutputs(outputs), mRoute(inputs, outputs), mFactors(inputs * outputs) {
    set({}, {});
}

void GainMatrix::set(const StreamGains& gains, const RampFrames& ramp) {
    if (gains.isUpMixed != mIsUpMixed) {
        mIsUpMixed = gains.isUpMixed;
        mRoute = ChannelMatrix(mInputs, mOutputs, mIsUpMixed);
    }
    auto factor = mFactors.begin();
    for (std::size_t output = 0; output < mOutputs; ++output) {
        for (std::size_t input = 0; input < mInputs; ++input) {
            const float gain = gains.factor(input, output, mOutputs);
            (factor++)->aim(mRoute.factor(input, output) * gain, ramp);
        }
    }
}

void GainMatrix::add(const float* in, std::size_t frames, float* out) {
    if (isPlain()) {
        mRoute.add(in, frames, out);
        return;
    }
    for (std::size_t frame = 0; frame < frames; ++frame) {
        auto factor = mFactors.begin();
        for (std::size_t output = 0; output < mOutputs; ++output) {
            for (std::size_t input = 0; input < mInputs; ++input)
                *out += in[input] * (factor++)->next();
            ++out;
        }
        in += mInputs;
    }
}

bool GainMatrix::isSilent() const {
    return std::all_of(mFactors.begin(), mFactors.end(),
                       [](const Ramp& factor) { return factor.target() == 0.0F; });
}

bool GainMatrix::isPlain() const {
    auto factor = mFactors.begin();
    for (std::size_t output = 0; output < mOutputs; ++output) {
        for (std::size_t input = 0; input < mInputs; ++input, ++factor) {
            if (factor->isMoving() || factor->target() != mRoute.factor(input, output))
                return false;
        }
    }
    return true;
}

}  // namespace cabinaudio::server
