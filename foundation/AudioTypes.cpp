// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioTypes.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>
#include <type_traits>

namespace {

using namespace audio;

struct TagRow {
    std::string_view text;
    audio_out_path_id_e path;
    AudioTagType tag;
    audio_connect_type connect;
};

// Two names share tag 3: both are accepted, and the first one is printed.
constexpr TagRow TAGS[] = {
    {"main", AUDIO_OUT_PATH_MAIN, AUDIO_TAG_MAIN, AUDIO_CONNECT_MAIN},
    {"alternative", AUDIO_OUT_PATH_ALTERNATIVE, AUDIO_TAG_ALTERNATIVE, AUDIO_CONNECT_ALTERNATIVE},
    {"auxiliary", AUDIO_OUT_PATH_AUXILIARY, AUDIO_TAG_AUXILIARY, AUDIO_CONNECT_AUXILIARY},
    {"output_input0_invocation", AUDIO_OUT_PATH_NONE, AUDIO_TAG_OUTPUT_INVOCATION,
     AUDIO_CONNECT_OUTPUT_INVOCATION},
    {"output_uplink_invocation", AUDIO_OUT_PATH_NONE, AUDIO_TAG_OUTPUT_INVOCATION,
     AUDIO_CONNECT_OUTPUT_INVOCATION},
    {"uplink", AUDIO_OUT_PATH_NONE, AUDIO_TAG_UPLINK, AUDIO_CONNECT_UPLINK},
    {"input0", AUDIO_OUT_PATH_NONE, AUDIO_TAG_INPUT0, AUDIO_CONNECT_INPUT0},
    {"input1", AUDIO_OUT_PATH_NONE, AUDIO_TAG_INPUT1, AUDIO_CONNECT_INPUT1},
    {"input2", AUDIO_OUT_PATH_NONE, AUDIO_TAG_INPUT2, AUDIO_CONNECT_INPUT2},
    {"input_front_feedback", AUDIO_OUT_PATH_NONE, AUDIO_TAG_INPUT_FRONT_FEEDBACK,
     AUDIO_CONNECT_INPUT_FRONT_FEEDBACK},
};

struct CodecRow {
    audio_codec_e codec;
    std::uint32_t type;
    std::uint32_t usage;
};

constexpr CodecRow CODECS[] = {
    {AUDIO_CODEC_PCM, 0, 0},       {AUDIO_CODEC_3, 51, 0},         {AUDIO_CODEC_4, 16, 0},
    {AUDIO_CODEC_5, 19, 0},        {AUDIO_CODEC_6, 64, 0},         {AUDIO_CODEC_7, 65, 0},
    {AUDIO_CODEC_8, 32, 0},        {AUDIO_CODEC_PCM_USAGE1, 0, 1}, {AUDIO_CODEC_PCM_USAGE2, 0, 2},
    {AUDIO_CODEC_4_USAGE2, 16, 2},
};

struct BitDepthRow {
    AudioBitDepthType type;
    multi_audio_fmt format;
    int ffmpegFormat;
    int bits;
    int bytes;
};

constexpr multi_audio_fmt NO_FORMAT = static_cast<multi_audio_fmt>(-1);

constexpr BitDepthRow BIT_DEPTHS[] = {
    {AUDIO_BIT_DEPTH_8, MULTI_AUDIO_FMT_U8, 0, 8, 1},
    {AUDIO_BIT_DEPTH_16, MULTI_AUDIO_FMT_S16, 1, 16, 2},
    {AUDIO_BIT_DEPTH_16_ALT, NO_FORMAT, 1, 16, 2},
    {AUDIO_BIT_DEPTH_24, MULTI_AUDIO_FMT_S24, 1, 24, 3},
    {AUDIO_BIT_DEPTH_24_ALT, NO_FORMAT, 1, 24, 3},
    {AUDIO_BIT_DEPTH_32, MULTI_AUDIO_FMT_S24, 2, 32, 4},
    {AUDIO_BIT_DEPTH_32_ALT, NO_FORMAT, 1, 32, 4},
};

struct ChannelMapRow {
    multi_audio_chl layout;
    AudioChannelMapType type;
    int ffmpegChannel;
    int channels;
};

constexpr ChannelMapRow CHANNEL_MAPS[] = {
    {MULTI_AUDIO_CHL_MONO, AUDIO_CHANNEL_MAP_1, 0, 1},
    {MULTI_AUDIO_CHL_STEREO, AUDIO_CHANNEL_MAP_2, 1, 2},
    {MULTI_AUDIO_CHL_3, AUDIO_CHANNEL_MAP_3, 2, 3},
    {MULTI_AUDIO_CHL_3_ALT, AUDIO_CHANNEL_MAP_3, 4, 3},
    {MULTI_AUDIO_CHL_4, AUDIO_CHANNEL_MAP_4, 5, 4},
    {MULTI_AUDIO_CHL_4_ALT, AUDIO_CHANNEL_MAP_4, 8, 4},
    {MULTI_AUDIO_CHL_5, AUDIO_CHANNEL_MAP_5, 10, 5},
    {MULTI_AUDIO_CHL_6, AUDIO_CHANNEL_MAP_6, 11, 6},
    {MULTI_AUDIO_CHL_MONO_253, AUDIO_CHANNEL_MAP_MONO_253, 0, 1},
    {MULTI_AUDIO_CHL_MONO_254, AUDIO_CHANNEL_MAP_MONO_254, 0, 1},
};

struct ChannelNameRow {
    audio_channel_idx_e channel;
    std::string_view name;
};

constexpr ChannelNameRow CHANNEL_NAMES[] = {
    {AUDIO_CHANNEL_LF, "LF"}, {AUDIO_CHANNEL_RF, "RF"}, {AUDIO_CHANNEL_LS, "LS"},
    {AUDIO_CHANNEL_RS, "RS"}, {AUDIO_CHANNEL_CF, "CF"}, {AUDIO_CHANNEL_L1, "L1"},
};

constexpr unsigned SAMPLE_RATES[] = {8000,  11025, 12000, 16000, 22050, 24000,
                                     32000, 44100, 48000, 96000, 192000};

/// The value column of the first row whose key column holds `key`.
template <typename Rows, typename Row, typename Key, typename Value>
Value lookUp(const Rows& rows, Key Row::*keyColumn, const std::type_identity_t<Key>& key,
             Value Row::*valueColumn, const std::type_identity_t<Value>& otherwise) {
    const auto row = std::find_if(std::begin(rows), std::end(rows),
                                  [&](const Row& each) { return each.*keyColumn == key; });
    return row != std::end(rows) ? (*row).*valueColumn : otherwise;
}

constexpr std::uint32_t PCM = 0;

bool carriesFlag(std::uint32_t codecType) {
    return codecType == 64 || codecType == 65;
}

}  // namespace

AudioTagType AudioTypes::getTagType(std::string& tag) {
    return lookUp(TAGS, &TagRow::text, tag, &TagRow::tag, AUDIO_TAG_UNKNOWN);
}

std::string AudioTypes::getTag(AudioTagType tag) noexcept {
    return std::string(lookUp(TAGS, &TagRow::tag, tag, &TagRow::text, ""));
}

std::string AudioTypes::getTag(audio_out_path_id_e path) noexcept {
    return std::string(lookUp(TAGS, &TagRow::path, path, &TagRow::text, ""));
}

audio_connect_type AudioTypes::getConnectType(AudioTagType tag) {
    return lookUp(TAGS, &TagRow::tag, tag, &TagRow::connect, AUDIO_CONNECT_UNKNOWN);
}

std::uint32_t AudioTypes::getCodecType(audio_codec_e codec) {
    return lookUp(CODECS, &CodecRow::codec, codec, &CodecRow::type, 0);
}

std::uint32_t AudioTypes::getUsageType(audio_codec_e codec) {
    return lookUp(CODECS, &CodecRow::codec, codec, &CodecRow::usage, 0);
}

AudioBitDepthType AudioTypes::getBitDepthType(multi_audio_fmt format) {
    return lookUp(BIT_DEPTHS, &BitDepthRow::format, format, &BitDepthRow::type, AUDIO_BIT_DEPTH_16);
}

AudioBitDepthType AudioTypes::getBitDepthType(int bits) {
    return lookUp(BIT_DEPTHS, &BitDepthRow::bits, bits, &BitDepthRow::type, AUDIO_BIT_DEPTH_16);
}

int AudioTypes::getBitsPerSample(AudioBitDepthType bitDepth) {
    return lookUp(BIT_DEPTHS, &BitDepthRow::type, bitDepth, &BitDepthRow::bits, 16);
}

int AudioTypes::getBytesPerSample(AudioBitDepthType bitDepth) {
    return lookUp(BIT_DEPTHS, &BitDepthRow::type, bitDepth, &BitDepthRow::bytes, 2);
}

int AudioTypes::getFfmpegSampleFormat(AudioBitDepthType bitDepth) {
    return lookUp(BIT_DEPTHS, &BitDepthRow::type, bitDepth, &BitDepthRow::ffmpegFormat, 1);
}

AudioChannelMapType AudioTypes::getChannelMapType(multi_audio_chl layout) {
    return lookUp(CHANNEL_MAPS, &ChannelMapRow::layout, layout, &ChannelMapRow::type,
                  AUDIO_CHANNEL_MAP_2);
}

AudioChannelMapType AudioTypes::getChannelMapType(int channels) {
    return lookUp(CHANNEL_MAPS, &ChannelMapRow::channels, channels, &ChannelMapRow::type,
                  AUDIO_CHANNEL_MAP_2);
}

int AudioTypes::getChannelNumber(AudioChannelMapType channelMap) {
    return lookUp(CHANNEL_MAPS, &ChannelMapRow::type, channelMap, &ChannelMapRow::channels, 2);
}

int AudioTypes::getFfmpegSampleChannel(AudioChannelMapType channelMap) {
    return lookUp(CHANNEL_MAPS, &ChannelMapRow::type, channelMap, &ChannelMapRow::ffmpegChannel, 1);
}

std::string AudioTypes::getChannelName(audio_channel_idx_e channel) noexcept {
    return std::string(
        lookUp(CHANNEL_NAMES, &ChannelNameRow::channel, channel, &ChannelNameRow::name, ""));
}

audio_channel_idx_e AudioTypes::getChannelType(std::string& name) {
    return lookUp(CHANNEL_NAMES, &ChannelNameRow::name, name, &ChannelNameRow::channel,
                  audio_channel_idx_e{});
}

unsigned AudioTypes::getFfmpegSampleRate(unsigned rate) {
    const auto known = std::find(std::begin(SAMPLE_RATES), std::end(SAMPLE_RATES), rate);
    return known != std::end(SAMPLE_RATES) ? *known : 48000;
}

void AudioTypes::getFormatDesc(AudioFormatDesc& format, audio_decoder_parameter_t& parameter) {
    AudioFormatDesc filled = {};
    filled.codecType = getCodecType(parameter.codec);
    filled.sampleRate = parameter.sampleRate;
    filled.channelMap = getChannelMapType(parameter.channels);
    filled.usage = getUsageType(parameter.codec);
    if (filled.codecType == PCM) {
        filled.bitDepth = getBitDepthType(parameter.bitsPerSample);
    } else if (carriesFlag(filled.codecType)) {
        const std::uint8_t flag = parameter.flag != 0 ? 1 : 0;
        std::memcpy(&filled.bitDepth, &flag, sizeof(flag));
    }
    format = filled;
}

void AudioTypes::getFormatDesc(AudioFormatDesc& format, audio_uplink_parameter_t& parameter) {
    AudioFormatDesc filled = {};
    filled.codecType = getCodecType(parameter.codec);
    filled.sampleRate = parameter.sampleRate;
    filled.codecParam = parameter.codecParam;
    filled.channelMap = getChannelMapType(parameter.channelLayout);
    filled.usage = getUsageType(parameter.codec);
    if (filled.codecType == PCM) filled.bitDepth = getBitDepthType(parameter.sampleFormat);
    format = filled;
}
