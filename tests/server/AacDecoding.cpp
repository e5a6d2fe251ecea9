// SPDX-License-Identifier: Apache-2.0
#include "tests/server/Decoders.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <cmath>
#include <cstring>
#include <new>
#include <stdexcept>

namespace cabinaudio::test {
namespace {

std::int16_t toSample(float value) {
    return static_cast<std::int16_t>(std::lround(std::fmin(std::fmax(value, -1), 1) * 32767));
}

}  // namespace

struct AacDecoding::State {
    AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_AAC_LATM));
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();

    ~State() {
        av_frame_free(&frame);
        av_packet_free(&packet);
        avcodec_free_context(&context);
    }
};

bool AacDecoding::exists() {
    return true;
}

AacDecoding::AacDecoding() : mState(std::make_unique<State>()) {
    if (avcodec_open2(mState->context, nullptr, nullptr) < 0) throw std::runtime_error("aac");
}

AacDecoding::~AacDecoding() = default;

std::vector<std::int16_t> AacDecoding::decode(const Bytes& bytes) {
    AVPacket* packet = mState->packet;
    if (av_new_packet(packet, static_cast<int>(bytes.size())) < 0) throw std::bad_alloc();
    std::memcpy(packet->data, bytes.data(), bytes.size());
    const int result = avcodec_send_packet(mState->context, packet);
    av_packet_unref(packet);
    if (result < 0) throw std::runtime_error("aac: " + std::to_string(result));
    std::vector<std::int16_t> samples;
    const AVFrame* frame = mState->frame;
    while (avcodec_receive_frame(mState->context, mState->frame) == 0) {
        if (frame->format != AV_SAMPLE_FMT_FLTP) throw std::runtime_error("aac: not floats");
        const auto* values = reinterpret_cast<const float*>(frame->data[0]);
        for (int i = 0; i < frame->nb_samples; ++i)
            samples.push_back(toSample(values[i]));
    }
    return samples;
}

unsigned AacDecoding::rate() const {
    return static_cast<unsigned>(mState->context->sample_rate);
}

}  // namespace cabinaudio::test
