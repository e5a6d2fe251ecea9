// SPDX-License-Identifier: Apache-2.0
#include "tests/server/Decoders.h"

#include <opus/opus.h>
#include <sbc/sbc.h>

#include <stdexcept>

namespace cabinaudio::test {

struct OpusDecoding::State {
    OpusDecoder* decoder;
    std::vector<std::int16_t> samples;
};

OpusDecoding::OpusDecoding(unsigned rate) : mState(std::make_unique<State>()) {
    mState->decoder = opus_decoder_create(static_cast<opus_int32>(rate), 1, nullptr);
    if (mState->decoder == nullptr) throw std::runtime_error("opus");
    mState->samples.resize(rate / 5);
}

OpusDecoding::~OpusDecoding() {
    opus_decoder_destroy(mState->decoder);
}

std::vector<std::int16_t> OpusDecoding::decode(const Bytes& packet) {
    auto& samples = mState->samples;
    const int count =
        opus_decode(mState->decoder, packet.data(), static_cast<opus_int32>(packet.size()),
                    samples.data(), static_cast<int>(samples.size()), 0);
    if (count < 0) throw std::runtime_error(opus_strerror(count));
    return {samples.begin(), samples.begin() + count};
}

struct MsbcDecoding::State {
    sbc_t codec;
};

MsbcDecoding::MsbcDecoding() : mState(std::make_unique<State>()) {
    if (sbc_init_msbc(&mState->codec, 0) != 0) throw std::runtime_error("msbc");
    mState->codec.endian = SBC_LE;
}

MsbcDecoding::~MsbcDecoding() {
    sbc_finish(&mState->codec);
}

std::vector<std::int16_t> MsbcDecoding::decode(const Bytes& frame) {
    std::vector<std::int16_t> samples(240);
    std::size_t written = 0;
    const ssize_t taken = sbc_decode(&mState->codec, frame.data(), frame.size(), samples.data(),
                                     samples.size() * sizeof samples[0], &written);
    if (taken != static_cast<ssize_t>(frame.size())) throw std::runtime_error("msbc");
    samples.resize(written / sizeof samples[0]);
    return samples;
}

}  // namespace cabinaudio::test
