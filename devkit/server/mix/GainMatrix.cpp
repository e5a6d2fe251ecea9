// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/mix/GainMatrix.h"

#include <algorithm>
#include <cmath>

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

float GainMatrix::peakOf(const float* in, std::size_t frames, std::span<const float> peaks) const {
    float highest = 0.0F;
    for (std::size_t output = 0; output < mOutputs; ++output) {
        const auto row = std::span(mFactors).subspan(output * mInputs, mInputs);
        const auto sources = std::count_if(
            row.begin(), row.end(), [](const Ramp& factor) { return factor.value() != 0.0F; });
        if (sources > 1) {
            highest = std::max(highest, peakOfSum(in, frames, output));
            continue;
        }
        for (std::size_t input = 0; input < mInputs; ++input)
            highest = std::max(highest, peaks[input] * row[input].value());
    }
    return highest;
}

float GainMatrix::peakOfSum(const float* in, std::size_t frames, std::size_t output) const {
    float highest = 0.0F;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        float sum = 0.0F;
        for (std::size_t input = 0; input < mInputs; ++input)
            sum += in[frame * mInputs + input] * mFactors[output * mInputs + input].value();
        highest = std::max(highest, std::fabs(sum));
    }
    return highest;
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
