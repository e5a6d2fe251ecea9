// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/sound/StreamFormat.h"

#include "devkit/server/base/Text.h"

namespace cabinaudio::server {
namespace {

std::optional<StreamFormat> ofSamples(const AudioFormatDesc& desc, AudioBitDepthType bits) {
    if (desc.sampleRate < 8000 || desc.sampleRate > 192000) return std::nullopt;
    return StreamFormat{desc.sampleRate,
                        static_cast<unsigned>(AudioTypes::getChannelNumber(desc.channelMap)),
                        static_cast<unsigned>(AudioTypes::getBytesPerSample(bits))};
}

}  // namespace

std::optional<StreamFormat> StreamFormat::of(const AudioFormatDesc& desc) {
    constexpr std::uint32_t LINEAR_PCM = 0;
    if (desc.codecType != LINEAR_PCM) return std::nullopt;
    return ofSamples(desc, desc.bitDepth);
}

std::optional<StreamFormat> StreamFormat::beforeCoding(const AudioFormatDesc& desc) {
    return ofSamples(desc, AUDIO_BIT_DEPTH_16);
}

std::string StreamFormat::text() const {
    return format("%u Hz, %u channel%s, %s%u", rate, channels, channels == 1 ? "" : "s",
                  bytesPerSample == 1 ? "u" : "s", bytesPerSample * 8);
}

}  // namespace cabinaudio::server
