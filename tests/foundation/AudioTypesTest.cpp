// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioTypes.h>

#include "tests/support/Logged.h"
#include "tests/support/Row.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

/// A public number as the library's parameter.
template <typename Enum>
Enum as(int number) {
    return static_cast<Enum>(number);
}

// Every table is written down here once more as plain numbers and texts, and every key from -2 to
// 300 that is not in it must give the default.

using Numbers = std::map<int, int>;        // key to result
using Texts = std::map<int, std::string>;  // key to result, empty otherwise

const Numbers CODEC_TYPES = {{0, 0},  {3, 51}, {4, 16}, {5, 19}, {6, 64},
                             {7, 65}, {8, 32}, {9, 0},  {10, 0}, {11, 16}};
const Texts TAGS = {{0, "main"},
                    {1, "alternative"},
                    {2, "auxiliary"},
                    {3, "output_input0_invocation"},
                    {64, "input0"},
                    {65, "uplink"},
                    {66, "input1"},
                    {67, "input2"},
                    {68, "input_front_feedback"}};
const Texts LOUDSPEAKERS = {{1, "LF"}, {2, "RF"}, {4, "LS"}, {8, "RS"}, {16, "CF"}, {32, "L1"}};

template <typename Result>
struct Conversion : Row {
    std::map<int, Result> table;
    Result otherwise;
    Result (*convert)(int);
    void expectTable() const {
        for (int key = -2; key <= 300; ++key) {
            const auto row = table.find(key);
            EXPECT_EQ(convert(key), row != table.end() ? row->second : otherwise) << "key " << key;
        }
    }
};

const Conversion<int> NUMBERS[] = {
    {"ConnectionOfATag",
     {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {64, 64}, {65, 65}, {66, 66}, {67, 67}, {68, 68}},
     255,
     [](int key) { return int(AudioTypes::getConnectType(as<AudioTagType>(key))); }},
    {"TypeOfACodec", CODEC_TYPES, 0,
     [](int key) { return int(AudioTypes::getCodecType(as<audio::audio_codec_e>(key))); }},
    {"UsageOfACodec",
     {{9, 1}, {10, 2}, {11, 2}},
     0,
     [](int key) { return int(AudioTypes::getUsageType(as<audio::audio_codec_e>(key))); }},
    // -1 stands in the rows without a public format; 17 is the first of them.
    {"BitDepthOfAPublicFormat",
     {{-1, 17}, {0, 8}, {1, 16}, {2, 24}},
     16,
     [](int key) { return int(AudioTypes::getBitDepthType(as<audio::multi_audio_fmt>(key))); }},
    {"BitDepthOfANumberOfBits",
     {{8, 8}, {16, 16}, {24, 24}, {32, 32}},
     16,
     [](int key) { return int(AudioTypes::getBitDepthType(key)); }},
    {"BitsOfABitDepth",
     {{8, 8}, {16, 16}, {17, 16}, {24, 24}, {25, 24}, {32, 32}, {33, 32}},
     16,
     [](int key) { return int(AudioTypes::getBitsPerSample(as<AudioBitDepthType>(key))); }},
    {"BytesOfABitDepth",
     {{8, 1}, {16, 2}, {17, 2}, {24, 3}, {25, 3}, {32, 4}, {33, 4}},
     2,
     [](int key) { return int(AudioTypes::getBytesPerSample(as<AudioBitDepthType>(key))); }},
    {"FfmpegFormatOfABitDepth",
     {{8, 0}, {16, 1}, {17, 1}, {24, 1}, {25, 1}, {32, 2}, {33, 1}},
     1,
     [](int key) { return int(AudioTypes::getFfmpegSampleFormat(as<AudioBitDepthType>(key))); }},
    {"ChannelMapOfAPublicLayout",
     {{0, 1}, {1, 2}, {2, 3}, {4, 3}, {5, 4}, {8, 4}, {10, 5}, {11, 6}, {27, 253}, {28, 254}},
     2,
     [](int key) { return int(AudioTypes::getChannelMapType(as<audio::multi_audio_chl>(key))); }},
    {"ChannelMapOfANumberOfChannels",
     {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}},
     2,
     [](int key) { return int(AudioTypes::getChannelMapType(key)); }},
    {"ChannelsOfAChannelMap",
     {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {253, 1}, {254, 1}},
     2,
     [](int key) { return int(AudioTypes::getChannelNumber(as<AudioChannelMapType>(key))); }},
    {"FfmpegValueOfAChannelMap",
     {{1, 0}, {2, 1}, {3, 2}, {4, 5}, {5, 10}, {6, 11}, {253, 0}, {254, 0}},
     1,
     [](int key) { return int(AudioTypes::getFfmpegSampleChannel(as<AudioChannelMapType>(key))); }},
};
const Conversion<std::string> TEXTS[] = {
    {"OfATag", TAGS, "", [](int key) { return AudioTypes::getTag(as<AudioTagType>(key)); }},
    {"OfAnOutputPath",
     {{0, "output_input0_invocation"}, {1, "main"}, {2, "alternative"}, {8, "auxiliary"}},
     "",
     [](int key) { return AudioTypes::getTag(as<audio::audio_out_path_id_e>(key)); }},
    {"OfALoudspeaker", LOUDSPEAKERS, "",
     [](int key) { return AudioTypes::getChannelName(as<audio::audio_channel_idx_e>(key)); }},
};

class NumberConversion : public ::testing::TestWithParam<Conversion<int>> {};
class TextConversion : public ::testing::TestWithParam<Conversion<std::string>> {};

TEST_P(NumberConversion, GivesTheTablesNumberOrTheDefault) {
    GetParam().expectTable();
}

TEST_P(TextConversion, GivesTheTablesTextOrNone) {
    GetParam().expectTable();
}

INSTANTIATE_TEST_SUITE_P(Types, NumberConversion, ::testing::ValuesIn(NUMBERS), ROW_NAME);
INSTANTIATE_TEST_SUITE_P(Types, TextConversion, ::testing::ValuesIn(TEXTS), ROW_NAME);

int tagOf(std::string text) {
    return static_cast<int>(AudioTypes::getTagType(text));
}
int channelOf(std::string name) {
    return AudioTypes::getChannelType(name);
}

/// The format of the parameters, in a record that held something else.
template <typename Parameter>
AudioFormatDesc formatOf(Parameter parameter) {
    AudioFormatDesc format;
    std::memset(&format, 0xa5, sizeof(format));
    AudioTypes::getFormatDesc(format, parameter);
    return format;
}

audio::audio_decoder_parameter_t decoder(int codecNumber) {
    audio::audio_decoder_parameter_t parameter = {};
    parameter.codec = as<audio::audio_codec_e>(codecNumber);
    parameter.channels = 6;
    parameter.sampleRate = 44100;
    parameter.bitsPerSample = 24;
    return parameter;
}

audio::audio_uplink_parameter_t uplink(int codecNumber) {
    audio::audio_uplink_parameter_t parameter = {};
    parameter.codec = as<audio::audio_codec_e>(codecNumber);
    parameter.sampleRate = 16000;
    parameter.sampleFormat = as<audio::multi_audio_fmt>(2);
    parameter.channelLayout = as<audio::multi_audio_chl>(28);
    parameter.codecParam = 77;
    return parameter;
}

TEST(StreamState, HasTheNumberOfTheInterface) {
    EXPECT_EQ(NO_INIT, 0);
    EXPECT_EQ(IDLE, 1);
    EXPECT_EQ(STOPPING, 2);
    EXPECT_EQ(ACTIVE, 3);
    EXPECT_EQ(sizeof(AudioStreamState), 4U);
}

TEST(Tag, IsFoundByItsExactText) {
    for (const auto& [tag, text] : TAGS)
        EXPECT_EQ(tagOf(text), tag);
    EXPECT_EQ(tagOf("output_uplink_invocation"), 3);
    for (const char* const unknown : {"Main", "", "main ", "mai", "input", "input3", "second"})
        EXPECT_EQ(tagOf(unknown), 255) << unknown;
    EXPECT_EQ(tagOf(std::string("main\0", 5)), 255);
}

TEST(Loudspeaker, IsFoundByItsExactName) {
    for (const auto& [channel, name] : LOUDSPEAKERS)
        EXPECT_EQ(channelOf(name), channel);
    for (const char* const unknown : {"lf", "", "L", "LFE", "R1"})
        EXPECT_EQ(channelOf(unknown), 0) << unknown;
}

TEST(SampleRate, IsKeptWhenItIsUsualAndElse48000) {
    const std::set<unsigned> usual = {8000,  11025, 12000, 16000, 22050, 24000,
                                      32000, 44100, 48000, 96000, 192000};
    for (const unsigned rate : usual)
        EXPECT_EQ(AudioTypes::getFfmpegSampleRate(rate), rate);
    for (const unsigned rate : {0U, 1U, 7999U, 44000U, 64000U, 88200U, 176400U, 4294967295U})
        EXPECT_EQ(AudioTypes::getFfmpegSampleRate(rate), 48000U) << rate;
}

TEST(Format, OfAPcmPlaybackStreamCarriesTheBitDepth) {
    for (const int pcm : {0, 9, 10, 1}) {
        audio::audio_decoder_parameter_t parameter = decoder(pcm);
        parameter.flag = 0xffff;
        const AudioFormatDesc format = formatOf(parameter);
        EXPECT_EQ(format.codecType, 0U);
        EXPECT_EQ(format.sampleRate, 44100U);
        EXPECT_EQ(format.codecParam, 0U);
        EXPECT_EQ(format.channelMap, 6U);
        EXPECT_EQ(format.usage, pcm == 9 ? 1U : pcm == 10 ? 2U : 0U);
        EXPECT_EQ(format.bitDepth, 24U);
    }
}

TEST(Format, OfAPlaybackStreamTakesTheChannelCount) {
    audio::audio_decoder_parameter_t parameter = decoder(0);
    parameter.channels = 8;  // a public layout of this number has four channels, a count has none
    parameter.bitsPerSample = 20;
    const AudioFormatDesc format = formatOf(parameter);
    EXPECT_EQ(format.channelMap, 2U);
    EXPECT_EQ(format.bitDepth, 16U);
}

TEST(Format, OfAPlaybackStreamKeepsTheFlagOfTwoCodecsOnly) {
    for (const int coded : {3, 4, 5, 6, 7, 8, 11}) {
        for (const int flag : {0, 1, 0x100, 0xffff}) {
            audio::audio_decoder_parameter_t parameter = decoder(coded);
            parameter.flag = static_cast<std::uint16_t>(flag);
            const AudioFormatDesc format = formatOf(parameter);
            const bool keeps = coded == 6 || coded == 7;
            const unsigned char expected[4] = {
                keeps && flag != 0 ? std::uint8_t{1} : std::uint8_t{0}, 0, 0, 0};
            EXPECT_EQ(std::memcmp(&format.bitDepth, expected, 4), 0) << coded << " " << flag;
            EXPECT_EQ(static_cast<int>(format.codecType), CODEC_TYPES.at(coded));
        }
    }
}

TEST(Format, OfAnUplinkStreamTakesLayoutFormatAndCodecParameter) {
    const AudioFormatDesc format = formatOf(uplink(0));
    EXPECT_EQ(format.codecType, 0U);
    EXPECT_EQ(format.sampleRate, 16000U);
    EXPECT_EQ(format.codecParam, 77U);
    EXPECT_EQ(format.channelMap, 254U);
    EXPECT_EQ(format.usage, 0U);
    EXPECT_EQ(format.bitDepth, 24U);
}

TEST(Format, OfACodedUplinkStreamHasNoBitDepthAndNoFlag) {
    for (const int coded : {3, 4, 5, 6, 7, 8, 11}) {
        const AudioFormatDesc format = formatOf(uplink(coded));
        EXPECT_EQ(static_cast<int>(format.codecType), CODEC_TYPES.at(coded));
        EXPECT_EQ(format.usage, coded == 11 ? 2U : 0U);
        EXPECT_EQ(format.codecParam, 77U);
        EXPECT_EQ(format.bitDepth, 0U);
    }
}

TEST(TypeConversion, LogsNothing) {
    const cabinaudio::test::LogCapture log;
    EXPECT_EQ(tagOf("nothing"), 255);
    EXPECT_EQ(AudioTypes::getConnectType(as<AudioTagType>(255)), 255U);
    EXPECT_EQ(AudioTypes::getTag(as<AudioTagType>(4)), "");
    formatOf(uplink(99));
    EXPECT_TRUE(logIsEmpty(log));
}

}  // namespace
}  // namespace cabinaudio::test
