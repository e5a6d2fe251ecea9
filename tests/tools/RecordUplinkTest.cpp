// SPDX-License-Identifier: Apache-2.0
// An uplink in each of its forms, from the server's encoder to the file.
#include "tests/server/TemporaryDirectory.h"
#include "tests/support/RealServer.h"
#include "tests/tools/Likeness.h"
#include "tests/tools/Sounds.h"
#include "tests/tools/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>

namespace cabinaudio::test {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

/// In which an Opus file counts, whatever the rate of its sound.
constexpr int kOpusClock = 48000;

class AnUplinkRecording : public testing::Test {
protected:
    /// The ring comes `delay` ms after the start, or on command only.
    void serve(const std::string& delay, int rate = 16000) {
        writeTune(mInput, rate, 4);
        mServer = std::make_unique<RealServer>(std::vector<std::string>{
            "--output", "null", "--input", "uplink=" + mInput, "--uplink-delay", delay,
            "--ring-periods", "128"});  // nothing is lost when the tool is slow
    }

    [[nodiscard]] json record(const std::string& name, std::vector<std::string> more) {
        mOut = mDirectory.file(name);
        std::vector<std::string> words = {"record", mOut, "--tag", "uplink", "--json"};
        words.insert(words.end(), more.begin(), more.end());
        const ToolResult result = runTool(words);
        EXPECT_EQ(result.exitCode, 0) << result.text();
        EXPECT_THAT(result.err, IsEmpty());
        return json::parse(result.out);
    }

    [[nodiscard]] std::string recordedBytes() const {
        std::ifstream file(mOut, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TemporaryDirectory mDirectory;
    std::string mInput = mDirectory.file("input.wav");
    std::string mOut;
    std::unique_ptr<RealServer> mServer;
};

}  // namespace

TEST_F(AnUplinkRecording, InPcmIsSampleForSampleBehindTheSilence) {
    serve("300");
    const json report = record("a.wav", {"--seconds", "2"});
    EXPECT_EQ(report["recorded_ms"], 2000.0);
    EXPECT_GE(report["silent_ms"].get<double>(), 150.0);
    EXPECT_GE(report["live_ms"].get<double>(), 1000.0);
    const std::vector<std::int32_t> input = readSound(mInput).samples;
    const std::vector<std::int32_t> recorded = readSound(mOut).samples;
    ASSERT_EQ(recorded.size(), 32000u);
    const auto live =
        std::search(recorded.begin(), recorded.end(), input.begin(), input.begin() + 100);
    ASSERT_GT(recorded.end() - live, 12000);
    EXPECT_TRUE(std::equal(live, recorded.end(), input.begin()));
}

class AnUplinkOfPcm : public AnUplinkRecording,
                      public testing::WithParamInterface<std::pair<const char*, const char*>> {};

// Also behind live data, which must not be heard again.
TEST_P(AnUplinkOfPcm, IsQuietWithoutItsRing) {
    serve("0");
    mOut = mDirectory.file("a.wav");
    ToolProcess tool({"record", mOut, "--tag", "uplink", "--seconds", "2", "--json", "-v",
                      "--format", GetParam().first, "--channels", GetParam().second});
    ASSERT_TRUE(tool.waitForErr("start read from shm"));
    EXPECT_EQ(mServer->command("uplink ring off"), "ok");
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 0) << result.text();
    const Sound recorded = readSound(mOut);
    ASSERT_GE(recorded.samples.size(), 32000u);
    for (std::size_t i = recorded.samples.size() - 8000; i < recorded.samples.size(); ++i)
        ASSERT_LT(std::abs(recorded.samples[i] / 65536), 200) << "sample " << i;
}

INSTANTIATE_TEST_SUITE_P(Every, AnUplinkOfPcm,
                         testing::Values(std::pair{"s16", "1"}, std::pair{"s16", "2"},
                                         std::pair{"s32", "2"}));

TEST_F(AnUplinkRecording, WithoutBlockingIsSampleForSampleToo) {
    serve("200");
    const json report = record("a.wav", {"--seconds", "1", "--no-block"});
    EXPECT_GE(report["live_ms"].get<double>(), 300.0);
    const std::vector<std::int32_t> input = readSound(mInput).samples;
    const std::vector<std::int32_t> recorded = readSound(mOut).samples;
    const auto live =
        std::search(recorded.begin(), recorded.end(), input.begin(), input.begin() + 100);
    ASSERT_GT(recorded.end() - live, 4000);
    EXPECT_TRUE(std::equal(live, recorded.end(), input.begin()));
}

class AnOpusRecording : public AnUplinkRecording, public testing::WithParamInterface<int> {};

TEST_P(AnOpusRecording, PlaysLikeTheInput) {
    serve("200", GetParam());
    const json report = record(
        "a.opus", {"--codec", "opus", "--rate", std::to_string(GetParam()), "--seconds", "3"});
    EXPECT_EQ(report["codec"], "opus");
    EXPECT_EQ(report["codec_frames"], 150);
    EXPECT_EQ(report["recorded_ms"], 3000.0);
    EXPECT_GE(report["silent_ms"].get<double>(), 100.0);
    EXPECT_GE(report["live_ms"].get<double>(), 1000.0);
    EXPECT_TRUE(report["bits_per_sample"].is_null());
    const Sound recorded = readSound(mOut);
    EXPECT_EQ(recorded.info.format & SF_FORMAT_SUBMASK, SF_FORMAT_OPUS);
    EXPECT_EQ(recorded.info.channels, 1);
    // All packets, but for what the decoder drops at the beginning.
    const double seconds = static_cast<double>(recorded.info.frames) / recorded.info.samplerate;
    EXPECT_NEAR(seconds, 3.0 - 312.0 / kOpusClock, 1e-3);
    EXPECT_GT(likeness(recorded, readSound(mInput)), 0.9);
}

INSTANTIATE_TEST_SUITE_P(EveryRate, AnOpusRecording, testing::Values(8000, 16000, 24000, 48000));

TEST_F(AnUplinkRecording, InOpusIsSilentInRealTimeWithoutARing) {
    serve("never");
    const json report = record("a.opus", {"--codec", "opus", "--seconds", "1"});
    EXPECT_EQ(report["codec_frames"], 50);
    EXPECT_EQ(report["silent_ms"], 1000.0);
    EXPECT_EQ(report["live_ms"], 0.0);
    EXPECT_EQ(report["ring_bytes"], 0);
    EXPECT_GE(report["elapsed_ms"].get<double>(), 900.0);
    for (const std::int32_t sample : readSound(mOut).samples)
        ASSERT_LT(std::abs(sample / 65536), 100);
}

TEST_F(AnUplinkRecording, InOpusKeepsTheStreamsFramesRaw) {
    serve("never");
    const json report = record("a.raw", {"--codec", "opus", "--seconds", "0.1", "--raw"});
    EXPECT_EQ(report["raw"], true);
    const std::string silence("\0\0\0\3\1\2\3\4\xB8\xFF\xFE", 11);
    std::string expected;
    for (int i = 0; i < 5; ++i)
        expected += silence;
    EXPECT_EQ(recordedBytes(), expected);
}

TEST_F(AnUplinkRecording, OutlivesItsRing) {
    serve("0");
    mOut = mDirectory.file("a.opus");
    ToolProcess tool(
        {"record", mOut, "--tag", "uplink", "--codec", "opus", "--seconds", "3", "--json", "-v"});
    ASSERT_TRUE(tool.waitForErr("start read from shm"));
    for (const char* state : {"off", "on"}) {
        EXPECT_EQ(mServer->command(std::string("uplink ring ") + state), "ok");
        ASSERT_TRUE(tool.waitForErr(state == std::string("on") ? "source already now,unInit"
                                                               : "record unInitShareMem"));
    }
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 0) << result.text();
    const json report = json::parse(result.out);
    EXPECT_EQ(report["codec_frames"], 150);
    EXPECT_GT(report["live_ms"], 0.0);
    EXPECT_GT(readSound(mOut).info.frames, 0);
}

TEST_F(AnUplinkRecording, InMsbcIsDecoded) {
    serve("never");
    const json report = record("a.wav", {"--codec", "msbc", "--seconds", "0.6"});
    EXPECT_EQ(report["codec_frames"], 80);
    EXPECT_EQ(report["recorded_ms"], 600.0);
    EXPECT_EQ(report["silent_ms"], 600.0);
    EXPECT_GE(report["elapsed_ms"].get<double>(), 500.0);
    const Sound recorded = readSound(mOut);
    EXPECT_EQ(recorded.info.samplerate, 16000);
    EXPECT_EQ(recorded.info.frames, 80 * 120);
    for (const std::int32_t sample : recorded.samples)
        ASSERT_LT(std::abs(sample / 65536), 100);
}

TEST_F(AnUplinkRecording, InMsbcIsKeptRaw) {
    serve("never");
    EXPECT_EQ(record("a.msbc", {"--codec", "msbc", "--seconds", "0.06", "--raw"})["codec_frames"],
              8);
    const std::string bytes = recordedBytes();
    ASSERT_EQ(bytes.size(), 8u * 57);
    for (std::size_t frame = 0; frame < 8; ++frame)
        EXPECT_EQ(bytes.substr(frame * 57, 3), std::string("\xAD\0\0", 3));
}

TEST_F(AnUplinkRecording, InMsbcEndsWhereItIsLive) {
    serve("300");
    const ToolResult result = runTool({"record", mDirectory.file("a.wav"), "--tag", "uplink",
                                       "--codec", "msbc", "--seconds", "5", "--json"});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "refused");
    EXPECT_EQ(json::parse(result.out)["status_name"], "AUDIO_BAD_VALUE");
    EXPECT_THAT(result.err, HasSubstr("the library does not deliver live mSBC data; "));
    EXPECT_GT(readSound(mDirectory.file("a.wav")).info.frames, 0);
}

TEST_F(AnUplinkRecording, InAacKeepsWholeFrames) {
    serve("0");
    mOut = mDirectory.file("a.loas");
    const ToolResult result =
        runTool({"record", mOut, "--tag", "uplink", "--codec", "aac", "--seconds", "2", "--json"});
    if (result.err.find("has not accepted the stream") != std::string::npos)
        GTEST_SKIP() << "the server was built without AAC";
    EXPECT_EQ(result.exitCode, 0) << result.text();
    const json report = json::parse(result.out);
    const std::string bytes = recordedBytes();
    std::size_t frames = 0;
    std::size_t at = 0;
    while (at + 3 <= bytes.size()) {
        const auto high = static_cast<unsigned char>(bytes[at + 1]);
        ASSERT_EQ(static_cast<unsigned char>(bytes[at]), 0x56u) << "frame " << frames;
        ASSERT_EQ(high & 0xE0u, 0xE0u) << "frame " << frames;
        at += 3 + ((high & 0x1Fu) << 8 | static_cast<unsigned char>(bytes[at + 2]));
        ++frames;
    }
    EXPECT_EQ(at, bytes.size());
    EXPECT_EQ(report["codec_frames"], frames);
    EXPECT_GE(frames, 10u);  // 64 ms each
}

}  // namespace cabinaudio::test
