// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/sound/ChannelMatrix.h"

#include <algorithm>
#include <numeric>

namespace cabinaudio::server {
namespace {

enum ChannelPlace : std::size_t {
    LEFT_FRONT,
    RIGHT_FRONT,
    LEFT_SURROUND,
    RIGHT_SURROUND,
    CENTRE,
    LOW
};

constexpr float THREE_DB_DOWN = 0.70710678F;

}  // namespace

ChannelMatrix::ChannelMatrix(std::size_t inputs, std::size_t outputs, bool isUpMixed)
    : mInputs(inputs), mOutputs(outputs), mFactors(inputs * outputs, 0.0F) {
    for (std::size_t input = 0; input < mInputs; ++input) {
        if (input < mOutputs)
            at(input, input) = 1.0F;
        else
            fold(input);
    }
    if (mInputs == 1 && mOutputs > 1) at(LEFT_FRONT, RIGHT_FRONT) = 1.0F;
    if (isUpMixed && mInputs <= 2) upMix();
    limitRows();
    mIsIdentity = isIdentity();
}

void ChannelMatrix::fold(std::size_t input) {
    const std::size_t right = mOutputs > 1 ? RIGHT_FRONT : LEFT_FRONT;
    switch (input) {
        case RIGHT_FRONT:
            at(input, LEFT_FRONT) = 1.0F;
            break;
        case LEFT_SURROUND:
            at(input, LEFT_FRONT) = THREE_DB_DOWN;
            break;
        case RIGHT_SURROUND:
            at(input, right) = THREE_DB_DOWN;
            break;
        case CENTRE:
        case LOW:
            at(input, LEFT_FRONT) = THREE_DB_DOWN;
            at(input, right) = THREE_DB_DOWN;
            break;
        default:
            break;
    }
}

void ChannelMatrix::upMix() {
    if (mOutputs > LEFT_SURROUND) at(LEFT_FRONT, LEFT_SURROUND) = 1.0F;
    if (mOutputs > RIGHT_SURROUND) at(mInputs - 1, RIGHT_SURROUND) = 1.0F;
}

void ChannelMatrix::limitRows() {
    for (std::size_t output = 0; output < mOutputs; ++output) {
        float* row = &mFactors[output * mInputs];
        const float sum = std::accumulate(row, row + mInputs, 0.0F);
        if (sum > 1.0F)
            std::transform(row, row + mInputs, row, [sum](float value) { return value / sum; });
    }
}

bool ChannelMatrix::isIdentity() const {
    if (mInputs != mOutputs) return false;
    for (std::size_t output = 0; output < mOutputs; ++output) {
        for (std::size_t input = 0; input < mInputs; ++input) {
            if (factor(input, output) != (input == output ? 1.0F : 0.0F)) return false;
        }
    }
    return true;
}

void ChannelMatrix::add(const float* in, std::size_t frames, float* out) const {
    if (mIsIdentity) {
        std::transform(in, in + frames * mInputs, out, out, std::plus<>());
        return;
    }
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (std::size_t output = 0; output < mOutputs; ++output) {
            *out = std::inner_product(in, in + mInputs, &mFactors[output * mInputs], *out);
            ++out;
        }
        in += mInputs;
    }
}

}  // namespace cabinaudio::server
