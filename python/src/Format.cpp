// SPDX-License-Identifier: Apache-2.0
#include "python/src/Format.h"

#include <stdexcept>

namespace cabinaudio::python {

namespace {

constexpr std::size_t LONGEST_NAME = 63;

AudioTagType tagOf(std::string name) {
    const AudioTagType tag = AudioTypes::getTagType(name);
    if (tag == AUDIO_TAG_UNKNOWN)
        throw std::invalid_argument("no such tag: '" + name +
                                    "'; it is main, alternative, auxiliary, input0, input1, "
                                    "input2, input_front_feedback or uplink");
    return tag;
}

AudioBitDepthType depthOf(int bits) {
    if (bits != 8 && bits != 16 && bits != 24 && bits != 32)
        throw std::invalid_argument("bits must be 8, 16, 24 or 32, not " + std::to_string(bits));
    return static_cast<AudioBitDepthType>(bits);
}

void checkRate(unsigned rate) {
    if (rate < 1 || rate > 192000)
        throw std::invalid_argument("rate must be 1 to 192000 Hz, not " + std::to_string(rate));
}

void checkChannels(int channels) {
    if (channels < 1 || channels > 6)
        throw std::invalid_argument("channels must be 1 to 6, not " + std::to_string(channels));
}

std::uint32_t codecOf(const std::string& name) {
    if (name == "pcm") return 0;
    if (name == "aac") return 16;
    if (name == "opus") return 32;
    if (name == "msbc") return 65;
    throw std::invalid_argument("no such codec: '" + name + "'; it is pcm, aac, opus or msbc");
}

}  // namespace

StreamFormat pcmFormat(const std::string& tag, unsigned rate, int channels, int bits) {
    checkRate(rate);
    checkChannels(channels);
    StreamFormat format = {tagOf(tag), {}, {}};
    format.description.sampleRate = rate;
    format.description.channelMap = AudioTypes::getChannelMapType(channels);
    format.description.bitDepth = depthOf(bits);
    format.layout = {AudioTypes::getBytesPerSample(format.description.bitDepth), channels, false};
    return format;
}

StreamFormat uplinkFormat(const std::string& codec, unsigned rate, int channels, int bits) {
    StreamFormat format = pcmFormat("uplink", rate, channels, bits);
    format.description.codecType = codecOf(codec);
    if (format.description.codecType == 0) return format;
    format.description.bitDepth = AudioBitDepthType{};
    format.layout.isCoded = true;
    return format;
}

bool isPlayback(AudioTagType tag) {
    return tag < AUDIO_TAG_INPUT0;
}

void checkName(const std::string& name) {
    if (name.empty()) throw std::invalid_argument("a stream needs a name");
    if (name.size() > LONGEST_NAME)
        throw std::invalid_argument("a stream's name has at most 63 bytes: '" + name + "'");
    if (name.find('\0') != std::string::npos || name.find('/') != std::string::npos)
        throw std::invalid_argument("a stream's name has no '/' and no zero byte: '" + name + "'");
}

}  // namespace cabinaudio::python
