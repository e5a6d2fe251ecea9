// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/client/GuardedBuffer.h"
#include "tests/client/SilentPackets.h"
#include "tests/client/UplinkFixture.h"

#include <android/log.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace cabinaudio::test {
namespace {

/// The noise generator's numbers as samples of this width.
Bytes samples(const std::vector<std::int32_t>& noise, int bits) {
    Bytes bytes;
    for (const std::int32_t number : noise) {
        const std::int32_t value = bits == 32 ? number : number >> (bits == 8 ? 24 : 16);
        const auto* const raw = reinterpret_cast<const std::uint8_t*>(&value);
        bytes.insert(bytes.end(), raw, raw + (bits == 24 ? 16 : bits) / 8);
    }
    return bytes;
}

class Noise : public UplinkInTime {};

TEST_F(Noise, IsTheUpperHalfOfTheGeneratorsNumbers) {
    makeActive();
    (void)takeNoise();
    ASSERT_EQ(read(512, true), 512);
    const std::vector<std::int32_t> noise = takeNoise();
    ASSERT_EQ(noise.size(), 256U);
    EXPECT_EQ(heard(512), samples(noise, 16));
    ASSERT_EQ(read(512, true), 512);
    EXPECT_EQ(heard(512), samples(takeNoise(), 16)) << "and continues where it was";
}

TEST_F(Noise, IsQuiet) {
    makeActive();
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(read(512, true), 512);
        for (std::size_t at = 0; at < 512; at += 2) {
            std::int16_t sample = 0;
            std::memcpy(&sample, data.data() + at, sizeof sample);
            ASSERT_LE(std::abs(sample), 82);
        }
    }
}

TEST_F(Noise, FillsPartOfARequestWhenThePeriodIsLongerThan16Ms) {
    makeActive(640);
    GuardedBuffer buffer(640);
    EXPECT_EQ(read(buffer.data(), 640, true), 640);
    const std::vector<std::int32_t> noise = takeNoise();
    EXPECT_EQ(noise.size(), 256U);
    Bytes expected = samples(noise, 16);
    expected.resize(640, GuardedBuffer::FILLER);
    EXPECT_EQ(buffer.bytes(), expected);
}

TEST_F(Noise, FillsTheFirstPartOnlyForSeveralChannels) {
    AudioFormatDesc stereo = speech();
    stereo.channelMap = AUDIO_CHANNEL_MAP_2;
    makeActive(1024, stereo);
    EXPECT_EQ(read(1024, true), 1024);
    EXPECT_EQ(takeNoise().size(), 256U);
    EXPECT_TRUE(std::all_of(data.begin() + 512, data.begin() + 1024,
                            [](unsigned char byte) { return byte == 0x5a; }));
}

TEST_F(Noise, EndsWithTheCallersBufferWhenThePeriodIsShort) {
    makeActive(320);  // 10 ms, taken for 16: 256 samples would be due
    GuardedBuffer buffer(320);
    EXPECT_EQ(read(buffer.data(), 320, true), 320);
    const std::vector<std::int32_t> noise = takeNoise();
    EXPECT_EQ(noise.size(), 160U);
    EXPECT_EQ(buffer.bytes(), samples(noise, 16));
}

TEST_F(Noise, LeavesAnOddByteAlone) {
    makeActive(320);
    GuardedBuffer buffer(7);
    EXPECT_EQ(read(buffer.data(), 7, true), 7);
    Bytes expected = samples(takeNoise(), 16);
    ASSERT_EQ(expected.size(), 6U);
    expected.push_back(GuardedBuffer::FILLER);
    EXPECT_EQ(buffer.bytes(), expected);
}

class NoiseOfADepth : public UplinkInTime, public ::testing::WithParamInterface<std::uint32_t> {
protected:
    /// Width of the noise's samples.
    [[nodiscard]] static int width() {
        switch (GetParam()) {
            case 8:
                return 8;
            case 32:
            case 33:
                return 32;
            default:
                return 16;
        }
    }
    [[nodiscard]] static AudioFormatDesc format(AudioChannelMapType map) {
        AudioFormatDesc format = speech();
        format.channelMap = map;
        format.bitDepth = static_cast<AudioBitDepthType>(GetParam());
        return format;
    }

    /// One read of one server period of this length; checks every byte.
    void checkPeriod(int periodMs, AudioChannelMapType map) {
        const AudioFormatDesc wanted = format(map);
        const int frame =
            AudioTypes::getChannelNumber(map) * AudioTypes::getBytesPerSample(wanted.bitDepth);
        const int period = 16 * periodMs * frame;
        const int rate = period / 16;
        makeActive(period, wanted);
        GuardedBuffer buffer(static_cast<std::size_t>(period));
        (void)takeNoise();
        ASSERT_EQ(read(buffer.data(), period, true), period);
        const std::vector<std::int32_t> noise = takeNoise();
        const auto due = static_cast<std::size_t>((16 * period + rate - 1) / rate);
        const auto room = static_cast<std::size_t>(period) / static_cast<std::size_t>(width() / 8);
        ASSERT_EQ(noise.size(), std::min(due, room)) << periodMs << " ms";
        Bytes expected = samples(noise, width());
        expected.resize(static_cast<std::size_t>(period), GuardedBuffer::FILLER);
        ASSERT_TRUE(buffer.bytes() == expected) << periodMs << " ms";
    }
};

TEST_P(NoiseOfADepth, StaysInsideTheCallersBuffer) {
    for (const AudioChannelMapType map :
         {AUDIO_CHANNEL_MAP_1, AUDIO_CHANNEL_MAP_2, AUDIO_CHANNEL_MAP_3, AUDIO_CHANNEL_MAP_4,
          AUDIO_CHANNEL_MAP_5, AUDIO_CHANNEL_MAP_6, AUDIO_CHANNEL_MAP_MONO_253,
          AUDIO_CHANNEL_MAP_MONO_254}) {
        for (int ms = 1; ms <= 64; ++ms) {
            ASSERT_NO_FATAL_FAILURE(checkPeriod(ms, map));
            record.reset();
        }
        log.clear();
    }
}

TEST_P(NoiseOfADepth, IsOfThatWidthOrOfSixteenBits) {
    makeActive(512, format(AUDIO_CHANNEL_MAP_1));
    (void)takeNoise();
    ASSERT_EQ(read(512, true), 512);
    const std::vector<std::int32_t> noise = takeNoise();
    const Bytes expected = samples(noise, width());
    EXPECT_EQ(noise.size(), width() == 32 ? 128U : 256U);
    EXPECT_EQ(heard(static_cast<int>(expected.size())), expected);
    const bool unsupported = GetParam() == 24 || GetParam() == 25;
    EXPECT_EQ(log.countMatching(WARN, "\\[rec\\] Unsupported bit depth:2[45], default to 16\\.\n"),
              unsupported ? 1U : 0U)
        << log.dump();
    if (GetParam() == 24) {
        EXPECT_TRUE(logged(WARN, "[rec] Unsupported bit depth:24, default to 16.\n"));
    }
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, NoiseOfADepth,
                         ::testing::Values(8, 16, 17, 24, 25, 32, 33, 12),
                         [](const auto& bits) { return "of" + std::to_string(bits.param); });

class StoredSilence : public UplinkInTime {
protected:
    /// A read into a buffer of exactly the silence's length.
    void expectSilence(const AudioFormatDesc& format, const Bytes& silence) {
        makeActive(512, format);
        GuardedBuffer buffer(silence.size());
        EXPECT_EQ(read(buffer.data(), static_cast<int>(silence.size()), true),
                  static_cast<int>(silence.size()));
        EXPECT_EQ(buffer.bytes(), silence);
        EXPECT_TRUE(takeNoise().empty());
        EXPECT_TRUE(loggedLike(WARN, ".*\n", ABSENT));
        record.reset();
    }
};

TEST_F(StoredSilence, OfMsbcIsTheseBytes) {
    ASSERT_EQ(silentMsbcFrame().size(), 57U);
    expectSilence(speech(65), silentMsbcFrame());
}

TEST_F(StoredSilence, OfOpusIsThePacketOfItsRate) {
    ASSERT_EQ(silentOpusPacket(24000).size(), 231U);
    for (const std::uint32_t rate : {8000U, 16000U, 24000U, 48000U}) {
        AudioFormatDesc format = speech(32);
        format.sampleRate = rate;
        expectSilence(format, silentOpusPacket(rate));
    }
}

TEST_F(StoredSilence, IsOneFrameHoweverMuchIsDue) {
    makeActive(512, speech(65));
    EXPECT_TRUE(delivered(read(456, true), silentMsbcFrame()));
    EXPECT_EQ(data[57], 0x5a);
    time.pass(1000);
    EXPECT_EQ(read(1000, false), 57);
}

TEST_F(StoredSilence, OfOpusAtAnotherRateDoesNotExist) {
    for (const std::uint32_t rate : {0U, 12000U, 44100U}) {
        AudioFormatDesc format = speech(32);
        format.sampleRate = rate;
        makeActive(512, format);
        EXPECT_EQ(read(100, true), 0);
        EXPECT_TRUE(logged(WARN, "ClientRecordRt", "read",
                           "[rec] not support samplerate(" + std::to_string(rate) + ")!!!\n"));
        EXPECT_EQ(data[0], 0x5a);
        record.reset();
    }
}

TEST_F(StoredSilence, OfAacDoesNotExist) {
    makeActive(512, speech(16));
    EXPECT_EQ(read(100, true), 0);
    EXPECT_EQ(time.takeWaits(), Waits{4}) << "the pace is kept all the same";
    EXPECT_EQ(data[0], 0x5a);
    EXPECT_TRUE(loggedLike(WARN, ".*\n", ABSENT));
}

/// The life of an uplink in a process of its own, up to a read that its silence does not fit into.
void readTooLittle(std::uint32_t codec, std::uint32_t rate, int bytes) {
    __android_log_set_logger(__android_log_stderr_logger);
    ScriptedServer server;
    server.on(2, Answer::words(0, 0, 0, 512, 16, 256, 0));
    AudioFormatDesc format = speech(codec);
    format.sampleRate = rate;
    ClientRecordRt record("rec", AUDIO_TAG_UPLINK, format);
    if (record.start() != AUDIO_NO_ERROR) return;
    while (record.bytesUsed() < bytes)
        AudioTime::sleep(1000);
    unsigned char buffer[512];
    (void)record.read(buffer, bytes, false);
}

TEST(StoredSilenceDeathTest, AssertsRoomForAnMsbcFrame) {
    // A process under an emulator cannot execute itself; nothing else runs in it here.
    GTEST_FLAG_SET(death_test_style, "fast");
    for (const int bytes : {1, 40, 56})
        EXPECT_DEATH(readTooLittle(65, 16000, bytes),
                     "\\[ClientRecordRt\\]\\[read\\]\\[[0-9]+\\]"
                     "AUDIO ASSERT\\(sizeof\\(msbc_silent\\) <= bytes\\)!");
}

TEST(StoredSilenceDeathTest, AssertsRoomForAnOpusPacket) {
    GTEST_FLAG_SET(death_test_style, "fast");
    for (const std::uint32_t rate : {8000U, 16000U, 48000U})
        EXPECT_DEATH(readTooLittle(32, rate, 10),
                     "\\[ClientRecordRt\\]\\[read\\]\\[[0-9]+\\]"
                     "AUDIO ASSERT\\(readSize <= bytes\\)!");
    EXPECT_DEATH(readTooLittle(32, 24000, 230), "AUDIO ASSERT\\(readSize <= bytes\\)!");
}

TEST(RecordNotificationDeathTest, AssertsARecord) {
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_DEATH(
        {
            __android_log_set_logger(__android_log_stderr_logger);
            ClientRecord::notifierCallbackFunc(nullptr, 1, 2);
        },
        "\\[ClientRecord\\]\\[notifierCallbackFunc\\]\\[[0-9]+\\]AUDIO ASSERT\\(NULL != "
        "record\\)!");
    EXPECT_DEATH(
        {
            __android_log_set_logger(__android_log_stderr_logger);
            ClientRecordRt::notifierCallbackFunc(nullptr, 1, 2);
        },
        "\\[ClientRecordRt\\]\\[notifierCallbackFunc\\]\\[[0-9]+\\]"
        "AUDIO ASSERT\\(NULL != record\\)!");
}

}  // namespace
}  // namespace cabinaudio::test
