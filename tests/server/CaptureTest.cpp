// SPDX-License-Identifier: Apache-2.0
//
// Capture streams and the inputs of the server.
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/server/RawRecorder.h"
#include "tests/server/Sound.h"
#include "tests/support/Files.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <chrono>

namespace cabinaudio::test {
namespace {

using ::testing::Each;
using ::testing::HasSubstr;
using wire::CaptureFunction;

constexpr std::size_t CAPTURE_PERIOD = 256;  // frames at 16000 Hz

std::vector<float> floats(const std::vector<std::int16_t>& samples) {
    std::vector<float> result;
    for (const std::int16_t sample : samples)
        result.push_back(static_cast<float>(sample) / 32768.0F);
    return result;
}

double recordedAmplitude(double frequency, unsigned rate,
                         const std::vector<std::int16_t>& samples) {
    const std::vector<float> wave = floats(samples);
    return test::amplitudeOf(frequency, rate, wave.data(), wave.size());
}

class CaptureStream : public ::testing::TestWithParam<AudioTagType> {};

TEST_P(CaptureStream, CreationReportsTheSizesOfRingAndPeriod) {
    const RealServer server;
    RawRecorder recorder("voice", GetParam(), pcm(16000, 1, 16));
    EXPECT_EQ(recorder.creation().status, AUDIO_NO_ERROR);
    EXPECT_EQ(recorder.creation().ringSize, 8 * 512U);
    EXPECT_EQ(recorder.creation().perLoopSize, 512);
    EXPECT_EQ(recorder.creation().perLoopTime, 16);
    EXPECT_EQ(recorder.creation().perLoopSamples, 256);
    EXPECT_EQ(recorder.client().status(CaptureFunction::InitCheck), AUDIO_NO_ERROR);
    EXPECT_EQ(recorder.ring().getTotalSize(), 8 * 512U);
    EXPECT_FALSE(recorder.client().hasNotification(0)) << "nothing is announced";
}

TEST_P(CaptureStream, RecordsAToneByDefault) {
    const RealServer server;
    RawRecorder recorder("voice", GetParam(), pcm(16000, 1, 16));
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    EXPECT_NEAR(recordedAmplitude(440, 16000, recorder.readSamples(4000)), 0.5, 0.001);
}

INSTANTIATE_TEST_SUITE_P(Tags, CaptureStream,
                         ::testing::Values(AUDIO_TAG_INPUT0, AUDIO_TAG_INPUT1, AUDIO_TAG_INPUT2,
                                           AUDIO_TAG_INPUT_FRONT_FEEDBACK));

TEST(InputFile, IsRepeatedWithoutLosingASample) {
    const auto samples = noise16(1000);
    const InputServer server(16000, 1, samples);
    RawRecorder recorder("voice", AUDIO_TAG_INPUT0, pcm(16000, 1, 16));
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    EXPECT_EQ(recorder.readSamples(3500), looped(samples, 3500));
}

TEST(InputFile, StartsAnewWithEveryStart) {
    const auto samples = noise16(100000);
    const InputServer server(16000, 1, samples);
    RawRecorder recorder("voice", AUDIO_TAG_INPUT0, pcm(16000, 1, 16));
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
        EXPECT_EQ(recorder.readSamples(600), looped(samples, 600));
        ASSERT_EQ(recorder.stop(), AUDIO_NO_ERROR);
        recorder.ring().clear();
    }
    RawRecorder other("other", AUDIO_TAG_INPUT1, pcm(16000, 1, 16));
    ASSERT_EQ(other.start(), AUDIO_NO_ERROR);
    EXPECT_EQ(other.readSamples(600), looped(samples, 600)) << "each has an input of its own";
}

TEST(InputFile, IsConvertedToTheRateAndChannelsOfTheStream) {
    const InputServer server(44100, 2, repeated(sine16(1000, 44100, 44100), 2), {"--fast"});
    RawRecorder recorder("voice", AUDIO_TAG_INPUT0, pcm(16000, 1, 16));
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    recorder.readSamples(1600);  // the converter's beginning
    EXPECT_NEAR(recordedAmplitude(1000, 16000, recorder.readSamples(16000)), 0.5, 0.005);
}

TEST(InputFile, IsRecordedInEveryWidth) {
    const auto samples = noise16(2000);
    const InputServer server(48000, 2, samples, {"--fast"});
    for (const unsigned bits : {8U, 16U, 24U, 32U}) {
        const unsigned width = bits / 8;
        RawRecorder recorder("bits" + std::to_string(bits), AUDIO_TAG_INPUT0, pcm(48000, 2, bits));
        ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
        const Bytes bytes = recorder.read(2000 * width);
        for (std::size_t i = 0; i < 2000; ++i) {
            std::int32_t value = 0;  // at the top
            std::memcpy(reinterpret_cast<std::uint8_t*>(&value) + (4 - width), &bytes[i * width],
                        width);
            if (bits == 8)
                value = static_cast<std::int32_t>(static_cast<std::uint32_t>(value) ^ 0x80000000U);
            const std::int64_t expected = std::int64_t{samples[i]} * 65536;
            ASSERT_LE(std::abs(std::int64_t{value} - expected), bits == 8 ? 1 << 24 : 0)
                << bits << " bits, sample " << i;
        }
    }
}

TEST(ServerInputs, CanBeChosenForEachTag) {
    const TemporaryDirectory directory;
    const auto samples = noise16(777);
    writeWav(directory.file("a=b.wav"), 16000, 1, samples);
    const RealServer server({"--output", "null", "--fast", "--input", "silence", "--input",
                             "input1=tone:1000", "--input", "input2=" + directory.file("a=b.wav")});
    RawRecorder silent("silent", AUDIO_TAG_INPUT0, pcm(16000, 1, 16));
    RawRecorder tone("tone", AUDIO_TAG_INPUT1, pcm(16000, 1, 16));
    RawRecorder file("file", AUDIO_TAG_INPUT2, pcm(16000, 1, 16));
    ASSERT_EQ(silent.start() + tone.start() + file.start(), AUDIO_NO_ERROR);
    EXPECT_THAT(silent.readSamples(4000), Each(0));
    EXPECT_NEAR(recordedAmplitude(1000, 16000, tone.readSamples(4000)), 0.5, 0.001);
    EXPECT_EQ(file.readSamples(2000), looped(samples, 2000));
    EXPECT_EQ(streamOf(server, "tone").at("input"), "tone:1000");
}

class Recorder : public ::testing::Test {
protected:
    RealServer server{{"--output", "null", "--input", "tone:500"}};
    RawRecorder recorder{"voice", AUDIO_TAG_INPUT0, pcm(16000, 1, 16)};
};

TEST_F(Recorder, GetsAPeriodEverySixteenMilliseconds) {
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    recorder.readSamples(20 * CAPTURE_PERIOD);
    const auto duration = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(duration, std::chrono::milliseconds(19 * 16));
}

TEST_F(Recorder, WakesWhenDataArrives) {
    struct : ShareMemoryUpdateNotificationCallback {
        std::atomic<int> count{0};
        void notify() override { ++count; }
    } woken;
    ShareMemoryEx ring(SHM_TYPE_POSIX_SHM, "voice", nullptr, recorder.creation().ringSize,
                       SHM_MODE_READER, &woken);
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    EXPECT_TRUE(eventually([&] { return woken.count >= 3; }));
}

TEST_F(Recorder, LosesWholePeriodsWhenItDoesNotRead) {
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    ASSERT_TRUE(eventually([&] { return streamOf(server, "voice").at("overruns") >= 2; }));
    const auto state = streamOf(server, "voice");
    EXPECT_EQ(state.at("bytes"), 7 * 512) << "a ring of eight periods holds one byte less";
    EXPECT_EQ(state.at("packets"), 7);
    EXPECT_EQ(state.at("queued_bytes"), 7 * 512);
    EXPECT_EQ(recorder.ring().getUsedSize(), 7 * 512U);
    EXPECT_NEAR(recordedAmplitude(500, 16000, recorder.readSamples(7 * CAPTURE_PERIOD)), 0.5, 0.001)
        << "what came first is there without a gap";
}

TEST_F(Recorder, GetsNoDataWhileStopped) {
    EXPECT_EQ(recorder.stop(), AUDIO_NO_ERROR) << "stopped already";
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    EXPECT_EQ(recorder.start(), AUDIO_NO_ERROR) << "started already";
    recorder.readSamples(CAPTURE_PERIOD);
    ASSERT_EQ(recorder.stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(streamOf(server, "voice").at("state"), "idle");
    const auto bytes = streamOf(server, "voice").at("bytes");
    EXPECT_FALSE(eventually([&] { return streamOf(server, "voice").at("bytes") != bytes; },
                            std::chrono::milliseconds(60)));
}

TEST_F(Recorder, ScalesSamplesByItsVolume) {
    EXPECT_EQ(recorder.volume().status, AUDIO_NO_ERROR);
    EXPECT_EQ(recorder.volume().volume, 100);
    for (const auto& [volume, amplitude] : {std::pair(50, 0.25), {10, 0.05}, {0, 0.0}}) {
        ASSERT_EQ(recorder.setVolume(volume), AUDIO_NO_ERROR);
        EXPECT_EQ(recorder.volume().volume, volume);
        ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
        EXPECT_NEAR(recordedAmplitude(500, 16000, recorder.readSamples(1600)), amplitude, 0.001);
        ASSERT_EQ(recorder.stop(), AUDIO_NO_ERROR);
        recorder.ring().clear();
    }
    EXPECT_EQ(recorder.setVolume(-1), AUDIO_BAD_VALUE);
    EXPECT_EQ(recorder.setVolume(101), AUDIO_BAD_VALUE);
    EXPECT_EQ(streamOf(server, "voice").at("volume"), 0);
}

TEST_F(Recorder, RefusesUplinkRequests) {
    EXPECT_EQ(recorder.client().status(CaptureFunction::RemoveShareMemory),
              AUDIO_INVALID_OPERATION);
    EXPECT_EQ(server.command("uplink ring on"), "error: there is no uplink");
    EXPECT_EQ(server.command("uplink ring off voice"), "error: no uplink \"voice\"");
}

TEST_F(Recorder, IsNotifiedOfItsRemoval) {
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    EXPECT_EQ(server.command("stream remove voice"), "ok");
    EXPECT_EQ(recorder.client().notification().event, 255U);
    EXPECT_EQ(recorder.start(), AUDIO_INVALID_STATE);
}

TEST_F(Recorder, IsDisconnectedWhenItWritesABadReadOffset) {
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    recorder.ring().updateReadOffset(100000);
    EXPECT_TRUE(recorder.client().isClosedByServer());
    EXPECT_THAT(server.output(), HasSubstr("set its ring's read offset to 100000"));
}

TEST_F(Recorder, IsDisconnectedWhenItTruncatesItsRing) {
    RawClient client(AUDIO_CONNECT_INPUT1, "short");
    ASSERT_EQ(client.createCapture(AUDIO_TAG_INPUT1, pcm(16000, 1, 16)).status, AUDIO_NO_ERROR);
    const int fd = shm_open("short", O_RDWR, 0);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(ftruncate(fd, 0), 0);
    close(fd);
    ASSERT_EQ(client.status(CaptureFunction::Start), AUDIO_NO_ERROR);
    EXPECT_TRUE(client.isClosedByServer());
    EXPECT_THAT(server.output(), HasSubstr("cut off its ring's memory"));
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    recorder.readSamples(CAPTURE_PERIOD);
}

TEST_F(Recorder, IsRefusedASecondTimeAndUnderATakenName) {
    EXPECT_EQ(recorder.client().createCapture(AUDIO_TAG_INPUT0, pcm(16000, 1, 16)).status,
              AUDIO_INVALID_STATE);
    RawRecorder same("voice", AUDIO_TAG_INPUT1, pcm(16000, 1, 16));
    EXPECT_EQ(same.creation().status, AUDIO_INVALID_OPERATION);
    RawClient track(AUDIO_CONNECT_ALTERNATIVE, "voice");
    EXPECT_EQ(track.create(1, pcm(48000, 2, 16)).status, AUDIO_INVALID_OPERATION)
        << "names of playback and capture are the same";
}

TEST_F(Recorder, IsRefusedUnderAnotherTagAndInBadFormats) {
    RawClient client(AUDIO_CONNECT_INPUT1, "other");
    EXPECT_EQ(client.status(CaptureFunction::Start), AUDIO_INVALID_STATE);
    EXPECT_EQ(client.createCapture(AUDIO_TAG_INPUT2, pcm(16000, 1, 16)).status, AUDIO_BAD_VALUE);
    EXPECT_EQ(client.createCapture(AUDIO_TAG_INPUT1, pcm(7999, 1, 16)).status, AUDIO_BAD_VALUE);
    AudioFormatDesc coded = pcm(16000, 1, 16);
    coded.codecType = 32;
    EXPECT_EQ(client.createCapture(AUDIO_TAG_INPUT1, coded).status, AUDIO_BAD_VALUE);
    EXPECT_THAT(server.output(), HasSubstr("only the uplink is coded"));
}

TEST(FastServer, RecordsAsFastAsClientsRead) {
    const auto samples = noise16(48000);
    const InputServer server(48000, 1, samples, {"--fast"});
    RawRecorder recorder("voice", AUDIO_TAG_INPUT0, pcm(48000, 1, 16));
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(recorder.readSamples(60 * 48000), looped(samples, 60 * 48000));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(50));
    EXPECT_EQ(streamOf(server, "voice").at("overruns"), 0);
}

TEST(FastServer, FillsRingsThatAreReadWithoutNotification) {
    const RealServer server({"--output", "null", "--fast", "--input", "silence"});
    RawRecorder recorder("voice", AUDIO_TAG_INPUT0, pcm(16000, 1, 16));
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    std::size_t bytes = 0;
    EXPECT_TRUE(eventually([&] {
        audio_buffer_provider_t view = {};
        recorder.ring().getNextBuffer(view);
        recorder.ring().releaseBuffer(view);
        bytes += view.length;
        return bytes >= std::size_t{20000};
    }));
}

}  // namespace
}  // namespace cabinaudio::test
