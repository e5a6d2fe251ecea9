// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/sound/RateConverter.h"

#include "devkit/server/base/Log.h"

#include <stdexcept>

namespace cabinaudio::server {

RateConverter::RateConverter(unsigned channels, std::uint32_t inputRate, std::uint32_t outputRate)
    : mState(nullptr), mRatio(static_cast<double>(outputRate) / inputRate) {
    int error = 0;
    mState = src_new(SRC_SINC_MEDIUM_QUALITY, static_cast<int>(channels), &error);
    if (mState == nullptr) throw std::runtime_error(src_strerror(error));
}

RateConverter::~RateConverter() {
    src_delete(mState);
}

RateConverter::Progress RateConverter::convert(const float* in, std::size_t inFrames, float* out,
                                               std::size_t outFrames) {
    return process(in, inFrames, out, outFrames, false);
}

std::size_t RateConverter::takeOut(float* out, std::size_t outFrames) {
    constexpr float NONE = 0.0F;
    return process(&NONE, 0, out, outFrames, false).written;
}

std::size_t RateConverter::flush(float* out, std::size_t outFrames) {
    constexpr float NONE = 0.0F;
    return process(&NONE, 0, out, outFrames, true).written;
}

void RateConverter::reset() {
    src_reset(mState);
}

RateConverter::Progress RateConverter::process(const float* in, std::size_t inFrames, float* out,
                                               std::size_t outFrames, bool isEnd) {
    SRC_DATA data = {};
    data.data_in = in;
    data.input_frames = static_cast<long>(inFrames);
    data.data_out = out;
    data.output_frames = static_cast<long>(outFrames);
    data.src_ratio = mRatio;
    data.end_of_input = isEnd ? 1 : 0;
    if (const int error = src_process(mState, &data); error != 0) {
        log::error("sample rate conversion: %s", src_strerror(error));
        return {inFrames, 0};
    }
    return {static_cast<std::size_t>(data.input_frames_used),
            static_cast<std::size_t>(data.output_frames_gen)};
}

}  // namespace cabinaudio::server
