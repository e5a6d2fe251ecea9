// SPDX-License-Identifier: Apache-2.0
//
// The uplink's ring, which comes and goes, and what is in it.
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/server/RawRecorder.h"
#include "tests/server/Sound.h"
#include "tests/support/Files.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

namespace cabinaudio::test {
namespace {

using ::testing::HasSubstr;
using wire::CaptureFunction;

constexpr std::uint32_t RING_STATE = 2;

AudioFormatDesc coded(std::uint32_t codec, std::uint32_t rate, unsigned channels = 1) {
    AudioFormatDesc format = pcm(rate, channels, 16);
    format.codecType = codec;
    format.bitDepth = static_cast<AudioBitDepthType>(0);  // coded formats have none
    return format;
}

class Uplink : public ::testing::Test {
protected:
    explicit Uplink(const std::string& delay = "0")
        : server({"--output", "null", "--input", "tone:500", "--uplink-delay", delay}) {}

    /// Waits for the message about the ring. @return its value
    std::uint32_t ringState() {
        const SocketFrameHeader told = uplink.client().notification();
        EXPECT_EQ(told.event, RING_STATE);
        return told.param;
    }

    RealServer server;
    RawRecorder uplink{"call", AUDIO_TAG_UPLINK, pcm(16000, 1, 16)};
};

class UplinkOnCommand : public Uplink {
protected:
    UplinkOnCommand() : Uplink("never") {}
};

TEST_F(Uplink, CreationReportsThePeriodButNoRing) {
    EXPECT_EQ(uplink.creation().status, AUDIO_NO_ERROR);
    EXPECT_EQ(uplink.creation().ringSize, 0U);
    EXPECT_EQ(uplink.creation().perLoopSize, 512);
    EXPECT_EQ(uplink.creation().perLoopTime, 16);
    EXPECT_EQ(uplink.creation().perLoopSamples, 256);
    EXPECT_EQ(uplink.client().status(CaptureFunction::InitCheck), AUDIO_NO_ERROR);
    EXPECT_EQ(uplink.memory().status, AUDIO_INVALID_STATE);
    EXPECT_EQ(uplink.client().status(CaptureFunction::GetVolume), AUDIO_INVALID_OPERATION)
        << "it has no volume";
    EXPECT_FALSE(uplink.client().hasNotification(0)) << "not before it is started";
}

TEST_F(Uplink, GetsItsRingWhenStarted) {
    ASSERT_EQ(uplink.start(), AUDIO_NO_ERROR);
    EXPECT_EQ(ringState(), 1U);
    const auto memory = uplink.memory();
    EXPECT_EQ(memory.status, AUDIO_NO_ERROR);
    EXPECT_EQ(memory.size, 8 * 512U);
    EXPECT_EQ(streamOf(server, "call").at("ring_address"), memory.address);
    EXPECT_EQ(streamOf(server, "call").at("kind"), "uplink");
    EXPECT_EQ(streamOf(server, "call").at("codec"), "pcm");
}

TEST_F(Uplink, RecordsNothingBeforeItsRingIsMapped) {
    ASSERT_EQ(uplink.start(), AUDIO_NO_ERROR);
    EXPECT_EQ(ringState(), 1U);
    EXPECT_FALSE(eventually([&] { return streamOf(server, "call").at("frames") != 0; },
                            std::chrono::milliseconds(50)));
}

TEST_F(UplinkOnCommand, GetsAndLosesItsRing) {
    ASSERT_EQ(uplink.start(), AUDIO_NO_ERROR);
    EXPECT_FALSE(uplink.client().hasNotification(50));
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(server.command(round == 1 ? "uplink ring on call" : "uplink ring on"), "ok");
        ASSERT_TRUE(uplink.mapWhenReady());
        EXPECT_EQ(server.command("uplink ring on"), "ok") << "it has it already";
        uplink.readSamples(600);
        const auto address = uplink.memory().address;

        EXPECT_EQ(server.command("uplink ring off"), "ok");
        EXPECT_EQ(ringState(), 0U);
        EXPECT_EQ(streamOf(server, "call").at("ring"), "letting go");
        EXPECT_EQ(streamOf(server, "call").at("ring_address"), address);
        EXPECT_EQ(uplink.acknowledgeWithdrawal(), AUDIO_NO_ERROR);
        EXPECT_EQ(streamOf(server, "call").at("ring"), "away");
        EXPECT_EQ(streamOf(server, "call").at("ring_bytes"), 0);
        EXPECT_EQ(uplink.memory().status, AUDIO_INVALID_STATE);
    }
}

TEST_F(UplinkOnCommand, GetsItsRingBackOnlyAfterItsAcknowledgement) {
    ASSERT_EQ(server.command("uplink ring on"), "ok") << "also while it is stopped";
    ASSERT_TRUE(uplink.mapWhenReady());
    ASSERT_EQ(server.command("uplink ring off"), "ok");
    ASSERT_EQ(server.command("uplink ring on"), "ok");
    EXPECT_EQ(ringState(), 0U);
    EXPECT_FALSE(uplink.client().hasNotification(50));
    EXPECT_EQ(uplink.acknowledgeWithdrawal(), AUDIO_NO_ERROR);
    EXPECT_EQ(ringState(), 1U);
}

TEST_F(UplinkOnCommand, CommandRefusesUnknownNames) {
    EXPECT_EQ(server.command("uplink ring"), "error: uplink ring on|off [NAME]");
    EXPECT_EQ(server.command("uplink ring up"), "error: uplink ring on|off [NAME]");
    EXPECT_EQ(server.command("uplink ring on nobody"), "error: no uplink \"nobody\"");
    EXPECT_FALSE(uplink.client().hasNotification(0));
}

TEST_F(UplinkOnCommand, IsNotifiedOfItsRemoval) {
    EXPECT_EQ(server.command("stream remove call"), "ok");
    EXPECT_EQ(uplink.client().notification().event, 255U);
    EXPECT_EQ(uplink.memory().status, AUDIO_INVALID_STATE);
}

TEST(UplinkRing, IsAnnouncedAfterTheDelay) {
    const RealServer server({"--output", "null", "--uplink-delay", "60"});
    RawRecorder uplink("call", AUDIO_TAG_UPLINK, pcm(16000, 1, 16));
    const std::uint64_t before = AudioTime::now();
    ASSERT_EQ(uplink.start(), AUDIO_NO_ERROR);
    EXPECT_TRUE(uplink.mapWhenReady());
    EXPECT_GE(AudioTime::now() - before, 60000U);
}

TEST(UplinkRing, HoldsTheInputToTheLastSample) {
    const TemporaryDirectory directory;
    const auto samples = noise16(2 * 1000);
    writeWav(directory.file("in.wav"), 48000, 2, samples);
    const RealServer server({"--output", "null", "--input", "uplink=" + directory.file("in.wav")});
    RawRecorder uplink("call", AUDIO_TAG_UPLINK, pcm(48000, 2, 16));
    ASSERT_EQ(uplink.start(), AUDIO_NO_ERROR);
    ASSERT_TRUE(uplink.mapWhenReady());
    EXPECT_EQ(uplink.readSamples(2 * 12345), looped(samples, 2 * 12345));
}

TEST(UplinkInput, StopsWhileThereIsNoRing) {
    const auto samples = noise16(50000);
    const InputServer input(16000, 1, samples);
    const RealServer& server = input;
    RawRecorder uplink("call", AUDIO_TAG_UPLINK, pcm(16000, 1, 16));
    ASSERT_EQ(uplink.start(), AUDIO_NO_ERROR);
    ASSERT_TRUE(uplink.mapWhenReady());
    EXPECT_EQ(uplink.readSamples(1000), looped(samples, 1000));
    ASSERT_EQ(server.command("uplink ring off"), "ok");
    ASSERT_EQ(uplink.client().notification().param, 0U);
    ASSERT_EQ(uplink.acknowledgeWithdrawal(), AUDIO_NO_ERROR);
    const auto state = streamOf(server, "call");
    const auto taken = state.at("frames").get<std::size_t>();
    EXPECT_EQ(state.at("discarded_bytes"), 2 * (taken - 1000)) << "nothing is unaccounted for";
    ASSERT_EQ(server.command("uplink ring on"), "ok");
    ASSERT_TRUE(uplink.mapWhenReady());
    EXPECT_EQ(uplink.readSamples(1000), looped(samples, 1000, taken));
}

TEST(CodedUplink, IsRefusedInFormatsThatItsCodecLacks) {
    const RealServer server;
    int number = 0;
    const auto status = [&](const AudioFormatDesc& format) {
        RawRecorder uplink("call" + std::to_string(++number), AUDIO_TAG_UPLINK, format);
        return uplink.creation().status;
    };
    for (const std::uint32_t unknown : {1U, 19U, 51U, 64U, 66U, 0xffffffffU})
        EXPECT_EQ(status(coded(unknown, 16000)), AUDIO_BAD_VALUE) << unknown;
    EXPECT_THAT(server.output(), HasSubstr("client 3 uplink \"call3\": unknown codec 51"));
    EXPECT_EQ(status(coded(32, 44100)), AUDIO_BAD_VALUE);
    EXPECT_EQ(status(coded(32, 16000, 6)), AUDIO_BAD_VALUE);
    EXPECT_THAT(server.output(), HasSubstr("opus: 8000, 16000, 24000 or 48000 Hz in one or two "
                                           "channels, not 44100 Hz in 1"));
    EXPECT_EQ(status(coded(65, 8000)), AUDIO_BAD_VALUE);
    EXPECT_EQ(status(coded(65, 16000, 2)), AUDIO_BAD_VALUE);
    EXPECT_THAT(server.output(), HasSubstr("msbc: 16000 Hz in one channel, not 8000 Hz in 1"));
}

TEST(CodedUplink, HasThePeriodOfLinearPcm) {
    const RealServer server;
    RawRecorder uplink("call", AUDIO_TAG_UPLINK, coded(32, 24000));
    EXPECT_EQ(uplink.creation().status, AUDIO_NO_ERROR);
    EXPECT_EQ(uplink.creation().perLoopSize, 768);
    EXPECT_EQ(uplink.creation().perLoopSamples, 384);
}

TEST(CodedUplink, LosesWholePacketsOnly) {
    const RealServer server;
    RawRecorder uplink("call", AUDIO_TAG_UPLINK, coded(32, 8000));
    ASSERT_EQ(uplink.start(), AUDIO_NO_ERROR);
    ASSERT_TRUE(uplink.mapWhenReady());
    ASSERT_TRUE(eventually([&] { return streamOf(server, "call").at("overruns") >= 3; },
                           std::chrono::minutes(1)));
    const auto packets = streamOf(server, "call").at("packets").get<int>();
    int whole = 0;
    while (whole < packets && uplink.ring().getUsedSize() > 0) {
        const Bytes header = uplink.read(8);
        const std::size_t size = (std::size_t{header[2]} << 8) + header[3];
        ASSERT_EQ((Bytes{header.begin(), header.begin() + 2}), (Bytes{0, 0}));
        ASSERT_EQ((Bytes{header.begin() + 4, header.end()}), (Bytes{1, 2, 3, 4}));
        ASSERT_GE(uplink.ring().getUsedSize(), size);
        uplink.read(size);
        ++whole;
    }
    EXPECT_EQ(whole, packets);
}

TEST(CodedUplink, FollowsTheBitRate) {
    const RealServer server({"--output", "null", "--fast"});
    const auto bytesOfASecond = [&](const std::string& name, std::uint32_t bitRate) {
        AudioFormatDesc format = coded(32, 16000);
        format.codecParam = bitRate;
        RawRecorder uplink(name, AUDIO_TAG_UPLINK, format);
        EXPECT_EQ(uplink.start(), AUDIO_NO_ERROR);
        EXPECT_TRUE(uplink.mapWhenReady());
        std::size_t bytes = 0;
        for (int packet = 0; packet < 50; ++packet) {
            const Bytes header = uplink.read(8);
            const std::size_t size = (std::size_t{header[2]} << 8) + header[3];
            uplink.read(size);
            bytes += size;
        }
        return bytes;
    };
    EXPECT_LT(bytesOfASecond("low", 8000), 1500U);
    EXPECT_GT(bytesOfASecond("high", 64000), 4000U);
    EXPECT_LT(bytesOfASecond("odd", 1), 6000U) << "no bit rate; the codec's own";
}

}  // namespace
}  // namespace cabinaudio::test
