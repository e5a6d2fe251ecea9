// SPDX-License-Identifier: Apache-2.0
#include "tools/record/RecordFormat.h"

#include <algorithm>
#include <array>

namespace cabinaudio::tool {

namespace {

/// The library has silent packets of these rates only.
constexpr std::array<std::uint32_t, 4> OPUS_RATES = {8000, 16000, 24000, 48000};
constexpr std::uint32_t MSBC_RATE = 16000;

}  // namespace

const char* codecName(RecordCodec codec) {
    switch (codec) {
        case RecordCodec::Aac:
            return "aac";
        case RecordCodec::Opus:
            return "opus";
        case RecordCodec::Msbc:
            return "msbc";
        case RecordCodec::Pcm:
            break;
    }
    return "pcm";
}

AudioFormatDesc RecordFormat::description() const {
    AudioFormatDesc description = {};
    description.codecType = static_cast<std::uint32_t>(codec);
    description.sampleRate = rate;
    description.codecParam = codecParam;
    description.channelMap = AudioTypes::getChannelMapType(channels);
    // Coded streams have no bit depth; codecs use the field for their own flags.
    if (codec == RecordCodec::Pcm) description.bitDepth = depth;
    return description;
}

std::size_t RecordFormat::frameBytes() const {
    return static_cast<std::size_t>(channels) *
           static_cast<std::size_t>(AudioTypes::getBytesPerSample(depth));
}

double RecordFormat::milliseconds(std::size_t bytesOfPcm) const {
    return 1000.0 * static_cast<double>(bytesOfPcm) /
           (static_cast<double>(frameBytes()) * static_cast<double>(rate));
}

std::string formatFault(const RecordFormat& format) {
    const bool isOpusRate =
        std::find(OPUS_RATES.begin(), OPUS_RATES.end(), format.rate) != OPUS_RATES.end();
    if (format.codec == RecordCodec::Opus && !isOpusRate)
        return "--codec opus goes with a --rate of 8000, 16000, 24000 or 48000";
    if (format.codec == RecordCodec::Msbc && (format.rate != MSBC_RATE || format.channels != 1))
        return "--codec msbc is 16000 Hz in one channel";
    if (format.codec != RecordCodec::Pcm && format.channels > 2)
        return std::string("--codec ") + codecName(format.codec) + " has 2 channels at most";
    return "";
}

}  // namespace cabinaudio::tool
