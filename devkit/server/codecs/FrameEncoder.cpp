// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/codecs/FrameEncoder.h"

#include "devkit/server/base/Text.h"
#include "devkit/server/sound/SampleCodec.h"

#include <stdexcept>
#include <utility>

namespace cabinaudio::server {
namespace {

constexpr std::uint32_t LOWEST_BIT_RATE = 6000;
constexpr std::uint32_t HIGHEST_BIT_RATE = 510000;

class PcmEncoder : public FrameEncoder {
public:
    explicit PcmEncoder(const StreamFormat& format) : mFormat(format) {}

    void encode(std::span<const float> samples, const Output& output) override {
        std::vector<std::uint8_t> bytes;
        encodeSamples(mFormat.bytesPerSample, samples, bytes);
        output(std::move(bytes));
    }

private:
    StreamFormat mFormat;
};

}  // namespace

const char* nameOf(Codec codec) {
    switch (codec) {
        case Codec::Pcm:
            return "pcm";
        case Codec::Aac:
            return "aac";
        case Codec::Opus:
            return "opus";
        case Codec::Msbc:
            return "msbc";
    }
    return "unknown";
}

std::unique_ptr<FrameEncoder> makePcmEncoder(const StreamFormat& format) {
    return std::make_unique<PcmEncoder>(format);
}

std::unique_ptr<FrameEncoder> makeEncoder(const AudioFormatDesc& desc, const StreamFormat& stream) {
    const bool isBitRate =
        desc.codecParam >= LOWEST_BIT_RATE && desc.codecParam <= HIGHEST_BIT_RATE;
    const std::uint32_t bitRate = isBitRate ? desc.codecParam : 0;
    switch (static_cast<Codec>(desc.codecType)) {
        case Codec::Pcm:
            return makePcmEncoder(stream);
        case Codec::Aac:
            return makeAacEncoder(stream, bitRate);
        case Codec::Opus:
            return makeOpusEncoder(stream, bitRate);
        case Codec::Msbc:
            return makeMsbcEncoder(stream);
    }
    throw std::invalid_argument(format("unknown codec %u", desc.codecType));
}

}  // namespace cabinaudio::server
