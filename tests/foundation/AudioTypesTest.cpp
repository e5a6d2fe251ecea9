// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioTypes.h>

#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

// Every table is written down here once more as plain numbers, and every key from -2 to 300 that
// is not in it must give the default.

namespace {

using Numbers = std::map<int, int>;  // key to result

template <typename Convert>
void expectTable(const Numbers& table, int otherwise, Convert convert) {
    for (int key = -2; key <= 300; ++key) {
        const auto row = table.find(key);
        const int expected = row != table.end() ? row->second : otherwise;
        EXPECT_EQ(static_cast<int>(convert(key)), expected) << "key " << key;
    }
}

AudioTagType tag(int number) {
    return static_cast<AudioTagType>(number);
}
audio::audio_codec_e codec(int number) {
    return static_cast<audio::audio_codec_e>(number);
}
AudioBitDepthType depth(int number) {
    return static_cast<AudioBitDepthType>(number);
}
AudioChannelMapType channelMap(int number) {
    return static_cast<AudioChannelMapType>(number);
}
audio::multi_audio_fmt publicFormat(int number) {
    return static_cast<audio::multi_audio_fmt>(number);
}
audio::multi_audio_chl publicLayout(int number) {
    return static_cast<audio::multi_audio_chl>(number);
}
audio::audio_out_path_id_e path(int number) {
    return static_cast<audio::audio_out_path_id_e>(number);
}
audio::audio_channel_idx_e channel(int number) {
    return static_cast<audio::audio_channel_idx_e>(number);
}

int tagOf(std::string text) {
    return static_cast<int>(AudioTypes::getTagType(text));
}
int channelOf(std::string name) {
    return AudioTypes::getChannelType(name);
}

const Numbers kCodecTypes = {{0, 0},  {3, 51}, {4, 16}, {5, 19}, {6, 64},
                             {7, 65}, {8, 32}, {9, 0},  {10, 0}, {11, 16}};
const Numbers kUsages = {{9, 1}, {10, 2}, {11, 2}};

AudioFormatDesc garbage() {
    AudioFormatDesc format;
    std::memset(&format, 0xa5, sizeof(format));
    return format;
}

audio::audio_decoder_parameter_t decoder(int codecNumber) {
    audio::audio_decoder_parameter_t parameter = {};
    parameter.codec = codec(codecNumber);
    parameter.channels = 6;
    parameter.sampleRate = 44100;
    parameter.bitsPerSample = 24;
    return parameter;
}

audio::audio_uplink_parameter_t uplink(int codecNumber) {
    audio::audio_uplink_parameter_t parameter = {};
    parameter.codec = codec(codecNumber);
    parameter.sampleRate = 16000;
    parameter.sampleFormat = publicFormat(2);
    parameter.channelLayout = publicLayout(28);
    parameter.codecParam = 77;
    return parameter;
}

}  // namespace

TEST(AStreamState, HasItsNumber) {
    EXPECT_EQ(NO_INIT, 0);
    EXPECT_EQ(IDLE, 1);
    EXPECT_EQ(STOPPING, 2);
    EXPECT_EQ(ACTIVE, 3);
    EXPECT_EQ(sizeof(AudioStreamState), 4U);
}

TEST(ATag, IsFoundByItsExactText) {
    EXPECT_EQ(tagOf("main"), 0);
    EXPECT_EQ(tagOf("alternative"), 1);
    EXPECT_EQ(tagOf("auxiliary"), 2);
    EXPECT_EQ(tagOf("output_input0_invocation"), 3);
    EXPECT_EQ(tagOf("output_uplink_invocation"), 3);
    EXPECT_EQ(tagOf("input0"), 64);
    EXPECT_EQ(tagOf("uplink"), 65);
    EXPECT_EQ(tagOf("input1"), 66);
    EXPECT_EQ(tagOf("input2"), 67);
    EXPECT_EQ(tagOf("input_front_feedback"), 68);
    for (const char* const unknown : {"Main", "", "main ", "mai", "input", "input3", "second"})
        EXPECT_EQ(tagOf(unknown), 255) << unknown;
    EXPECT_EQ(tagOf(std::string("main\0", 5)), 255);
}

TEST(ATag, HasOneText) {
    const std::map<int, std::string> texts = {{0, "main"},
                                              {1, "alternative"},
                                              {2, "auxiliary"},
                                              {3, "output_input0_invocation"},
                                              {64, "input0"},
                                              {65, "uplink"},
                                              {66, "input1"},
                                              {67, "input2"},
                                              {68, "input_front_feedback"}};
    for (int number = 0; number <= 300; ++number) {
        const auto row = texts.find(number);
        EXPECT_EQ(AudioTypes::getTag(tag(number)), row != texts.end() ? row->second : "") << number;
    }
}

TEST(ATag, IsNamedByItsOutputPath) {
    const std::map<int, std::string> texts = {
        {0, "output_input0_invocation"}, {1, "main"}, {2, "alternative"}, {8, "auxiliary"}};
    for (int number = -1; number <= 16; ++number) {
        const auto row = texts.find(number);
        EXPECT_EQ(AudioTypes::getTag(path(number)), row != texts.end() ? row->second : "")
            << number;
    }
}

TEST(ATag, OpensTheConnectionOfItsOwnNumber) {
    const Numbers connections = {{0, 0},   {1, 1},   {2, 2},   {3, 3},  {64, 64},
                                 {65, 65}, {66, 66}, {67, 67}, {68, 68}};
    expectTable(connections, 255, [](int key) { return AudioTypes::getConnectType(tag(key)); });
}

TEST(ACodec, HasItsTypeAndUsage) {
    expectTable(kCodecTypes, 0, [](int key) { return AudioTypes::getCodecType(codec(key)); });
    expectTable(kUsages, 0, [](int key) { return AudioTypes::getUsageType(codec(key)); });
}

TEST(ABitDepth, IsFoundByThePublicFormat) {
    // -1 stands in the rows without a public format; 17 is the first of them.
    expectTable({{-1, 17}, {0, 8}, {1, 16}, {2, 24}}, 16,
                [](int key) { return AudioTypes::getBitDepthType(publicFormat(key)); });
}

TEST(ABitDepth, IsFoundByTheNumberOfBits) {
    expectTable({{8, 8}, {16, 16}, {24, 24}, {32, 32}}, 16,
                [](int key) { return AudioTypes::getBitDepthType(key); });
}

TEST(ABitDepth, HasItsSizes) {
    expectTable({{8, 8}, {16, 16}, {17, 16}, {24, 24}, {25, 24}, {32, 32}, {33, 32}}, 16,
                [](int key) { return AudioTypes::getBitsPerSample(depth(key)); });
    expectTable({{8, 1}, {16, 2}, {17, 2}, {24, 3}, {25, 3}, {32, 4}, {33, 4}}, 2,
                [](int key) { return AudioTypes::getBytesPerSample(depth(key)); });
}

TEST(ABitDepth, HasItsFfmpegFormat) {
    expectTable({{8, 0}, {16, 1}, {17, 1}, {24, 1}, {25, 1}, {32, 2}, {33, 1}}, 1,
                [](int key) { return AudioTypes::getFfmpegSampleFormat(depth(key)); });
}

TEST(AChannelMap, IsFoundByThePublicLayout) {
    expectTable(
        {{0, 1}, {1, 2}, {2, 3}, {4, 3}, {5, 4}, {8, 4}, {10, 5}, {11, 6}, {27, 253}, {28, 254}}, 2,
        [](int key) { return AudioTypes::getChannelMapType(publicLayout(key)); });
}

TEST(AChannelMap, IsFoundByTheNumberOfChannels) {
    expectTable({{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}}, 2,
                [](int key) { return AudioTypes::getChannelMapType(key); });
}

TEST(AChannelMap, HasItsNumberOfChannels) {
    expectTable({{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {253, 1}, {254, 1}}, 2,
                [](int key) { return AudioTypes::getChannelNumber(channelMap(key)); });
}

TEST(AChannelMap, HasItsFfmpegValue) {
    expectTable({{1, 0}, {2, 1}, {3, 2}, {4, 5}, {5, 10}, {6, 11}, {253, 0}, {254, 0}}, 1,
                [](int key) { return AudioTypes::getFfmpegSampleChannel(channelMap(key)); });
}

TEST(ALoudspeaker, HasANameForExactlyOneBit) {
    const std::map<int, std::string> names = {{1, "LF"}, {2, "RF"},  {4, "LS"},
                                              {8, "RS"}, {16, "CF"}, {32, "L1"}};
    for (int mask = -1; mask <= 130; ++mask) {
        const auto row = names.find(mask);
        EXPECT_EQ(AudioTypes::getChannelName(channel(mask)), row != names.end() ? row->second : "")
            << mask;
    }
}

TEST(ALoudspeaker, IsFoundByItsExactName) {
    EXPECT_EQ(channelOf("LF"), 1);
    EXPECT_EQ(channelOf("RF"), 2);
    EXPECT_EQ(channelOf("LS"), 4);
    EXPECT_EQ(channelOf("RS"), 8);
    EXPECT_EQ(channelOf("CF"), 16);
    EXPECT_EQ(channelOf("L1"), 32);
    for (const char* const unknown : {"lf", "", "L", "LFE", "R1"})
        EXPECT_EQ(channelOf(unknown), 0) << unknown;
}

TEST(ASampleRate, IsKeptWhenItIsUsual) {
    const std::set<unsigned> usual = {8000,  11025, 12000, 16000, 22050, 24000,
                                      32000, 44100, 48000, 96000, 192000};
    for (const unsigned rate : usual)
        EXPECT_EQ(AudioTypes::getFfmpegSampleRate(rate), rate);
    for (const unsigned rate : {0U, 1U, 7999U, 44000U, 64000U, 88200U, 176400U, 4294967295U})
        EXPECT_EQ(AudioTypes::getFfmpegSampleRate(rate), 48000U) << rate;
}

TEST(AFormat, OfAPcmPlaybackStreamCarriesTheBitDepth) {
    for (const int pcm : {0, 9, 10, 1}) {
        audio::audio_decoder_parameter_t parameter = decoder(pcm);
        parameter.flag = 0xffff;
        AudioFormatDesc format = garbage();
        AudioTypes::getFormatDesc(format, parameter);
        EXPECT_EQ(format.codecType, 0U);
        EXPECT_EQ(format.sampleRate, 44100U);
        EXPECT_EQ(format.codecParam, 0U);
        EXPECT_EQ(format.channelMap, 6U);
        EXPECT_EQ(format.usage, pcm == 9 ? 1U : pcm == 10 ? 2U : 0U);
        EXPECT_EQ(format.bitDepth, 24U);
    }
}

TEST(AFormat, OfAPlaybackStreamTakesTheChannelCount) {
    audio::audio_decoder_parameter_t parameter = decoder(0);
    parameter.channels = 8;  // a public layout of this number has four channels, a count has none
    parameter.bitsPerSample = 20;
    AudioFormatDesc format = garbage();
    AudioTypes::getFormatDesc(format, parameter);
    EXPECT_EQ(format.channelMap, 2U);
    EXPECT_EQ(format.bitDepth, 16U);
}

TEST(AFormat, OfAPlaybackStreamKeepsTheFlagOfTwoCodecsOnly) {
    for (const int coded : {3, 4, 5, 6, 7, 8, 11}) {
        for (const int flag : {0, 1, 0x100, 0xffff}) {
            audio::audio_decoder_parameter_t parameter = decoder(coded);
            parameter.flag = static_cast<std::uint16_t>(flag);
            AudioFormatDesc format = garbage();
            AudioTypes::getFormatDesc(format, parameter);
            const bool keeps = coded == 6 || coded == 7;
            const unsigned char expected[4] = {
                keeps && flag != 0 ? std::uint8_t{1} : std::uint8_t{0}, 0, 0, 0};
            EXPECT_EQ(std::memcmp(&format.bitDepth, expected, 4), 0) << coded << " " << flag;
            EXPECT_EQ(static_cast<int>(format.codecType), kCodecTypes.at(coded));
        }
    }
}

TEST(AFormat, OfAnUplinkStreamTakesLayoutFormatAndCodecParameter) {
    AudioFormatDesc format = garbage();
    audio::audio_uplink_parameter_t parameter = uplink(0);
    AudioTypes::getFormatDesc(format, parameter);
    EXPECT_EQ(format.codecType, 0U);
    EXPECT_EQ(format.sampleRate, 16000U);
    EXPECT_EQ(format.codecParam, 77U);
    EXPECT_EQ(format.channelMap, 254U);
    EXPECT_EQ(format.usage, 0U);
    EXPECT_EQ(format.bitDepth, 24U);
}

TEST(AFormat, OfACodedUplinkStreamHasNoBitDepthAndNoFlag) {
    for (const int coded : {3, 4, 5, 6, 7, 8, 11}) {
        AudioFormatDesc format = garbage();
        audio::audio_uplink_parameter_t parameter = uplink(coded);
        AudioTypes::getFormatDesc(format, parameter);
        EXPECT_EQ(static_cast<int>(format.codecType), kCodecTypes.at(coded));
        EXPECT_EQ(format.usage, coded == 11 ? 2U : 0U);
        EXPECT_EQ(format.codecParam, 77U);
        EXPECT_EQ(format.bitDepth, 0U);
    }
}

TEST(AConversion, NeverLogs) {
    const cabinaudio::test::LogCapture log;
    EXPECT_EQ(tagOf("nothing"), 255);
    EXPECT_EQ(AudioTypes::getConnectType(tag(255)), 255U);
    EXPECT_EQ(AudioTypes::getTag(tag(4)), "");
    AudioFormatDesc format = garbage();
    audio::audio_uplink_parameter_t parameter = uplink(99);
    AudioTypes::getFormatDesc(format, parameter);
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}
