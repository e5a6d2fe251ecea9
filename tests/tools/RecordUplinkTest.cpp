// SPDX-License-Identifier: Apache-2.0
// An uplink in each of its forms, from the server's encoder to the file.
#include "tests/tools/Likeness.h"
#include "tests/tools/ToolTest.h"

#include <algorithm>
#include <cstdlib>

namespace cabinaudio::test {

namespace {

/// In which an Opus file counts, whatever the rate of its sound.
constexpr int OPUS_CLOCK = 48000;

class UplinkRecording : public ToolTest {
protected:
    /// The ring comes `delay` ms after the start, or on command only.
    void serve(const std::string& delay, int rate = 16000) {
        writeTune(mInput, rate, 4);
        ToolTest::serve({"--input", "uplink=" + mInput, "--uplink-delay", delay, "--ring-periods",
                         "128"});  // nothing is lost when the tool is slow
    }

    [[nodiscard]] Words recording(const std::string& name, const Words& more) {
        mOut = mDirectory.file(name);
        return with({"record", mOut, "--tag", "uplink", "--json"}, more);
    }
    [[nodiscard]] json record(const std::string& name, const Words& more) {
        const Outcome result = runExpecting(0, recording(name, more));
        EXPECT_THAT(result.err, IsEmpty());
        return json::parse(result.out);
    }

    /// Expects that the recording is the input from its beginning on, once it is live, and that
    /// more than `count` samples of it are.
    void expectInputBehindSilence(std::ptrdiff_t count) const {
        const std::vector<std::int32_t> input = readSound(mInput).samples;
        const std::vector<std::int32_t> recorded = readSound(mOut).samples;
        const auto live =
            std::search(recorded.begin(), recorded.end(), input.begin(), input.begin() + 100);
        ASSERT_GT(recorded.end() - live, count);
        EXPECT_TRUE(std::equal(live, recorded.end(), input.begin()));
    }

    std::string mInput = mDirectory.file("input.wav");
    std::string mOut;
};

}  // namespace

TEST_F(UplinkRecording, InPcmIsSampleForSampleBehindTheSilence) {
    serve("300");
    const json report = record("a.wav", {"--seconds", "2"});
    EXPECT_EQ(report["recorded_ms"], 2000.0);
    EXPECT_GE(report["silent_ms"].get<double>(), 150.0);
    EXPECT_GE(report["live_ms"].get<double>(), 1000.0);
    ASSERT_EQ(readSound(mOut).samples.size(), 32000u);
    expectInputBehindSilence(12000);
}

class PcmUplinkRecording : public UplinkRecording,
                           public testing::WithParamInterface<std::pair<const char*, const char*>> {
};

// Also behind live data, which must not be repeated.
TEST_P(PcmUplinkRecording, IsSilentWithoutItsRing) {
    serve("0");
    ToolProcess tool(recording("a.wav", {"--seconds", "2", "-v", "--format", GetParam().first,
                                         "--channels", GetParam().second}));
    ASSERT_TRUE(tool.waitForErr("start read from shm"));
    EXPECT_EQ(mServer->command("uplink ring off"), "ok");
    tool.finishExpecting(0);
    const Sound recorded = readSound(mOut);
    ASSERT_GE(recorded.samples.size(), 32000u);
    for (std::size_t i = recorded.samples.size() - 8000; i < recorded.samples.size(); ++i)
        ASSERT_LT(std::abs(recorded.samples[i] / 65536), 200) << "sample " << i;
}

INSTANTIATE_TEST_SUITE_P(Every, PcmUplinkRecording,
                         testing::Values(std::pair{"s16", "1"}, std::pair{"s16", "2"},
                                         std::pair{"s32", "2"}),
                         [](const auto& test) {
                             return std::string(test.param.first) + "x" + test.param.second;
                         });

TEST_F(UplinkRecording, WithoutBlockingIsSampleForSampleBehindTheSilence) {
    serve("200");
    const json report = record("a.wav", {"--seconds", "1", "--no-block"});
    EXPECT_GE(report["live_ms"].get<double>(), 300.0);
    expectInputBehindSilence(4000);
}

class OpusRecording : public UplinkRecording, public testing::WithParamInterface<int> {};

TEST_P(OpusRecording, SoundsLikeTheInput) {
    serve("200", GetParam());
    const json report = record(
        "a.opus", {"--codec", "opus", "--rate", std::to_string(GetParam()), "--seconds", "3"});
    EXPECT_EQ(report["codec"], "opus");
    EXPECT_EQ(report["codec_frames"], 150);
    EXPECT_EQ(report["recorded_ms"], 3000.0);
    EXPECT_GE(report["skipped_ms"].get<double>(), 100.0);
    EXPECT_EQ(report["silent_ms"], 0.0);
    EXPECT_EQ(report["live_ms"], 3000.0);
    EXPECT_TRUE(report["bits_per_sample"].is_null());
    const Sound recorded = readSound(mOut);
    EXPECT_EQ(recorded.info.format & SF_FORMAT_SUBMASK, SF_FORMAT_OPUS);
    EXPECT_EQ(recorded.info.channels, 1);
    // All packets, but for what the decoder drops at the beginning.
    const double seconds = static_cast<double>(recorded.info.frames) / recorded.info.samplerate;
    EXPECT_NEAR(seconds, 3.0 - 312.0 / OPUS_CLOCK, 1e-3);
    EXPECT_GT(likeness(recorded, readSound(mInput)), 0.9);
}

INSTANTIATE_TEST_SUITE_P(EveryRate, OpusRecording, testing::Values(8000, 16000, 24000, 48000));

TEST_F(UplinkRecording, InOpusBeginsWithTheUplinksFirstFrame) {
    serve("100");
    const json report = record("a.opus", {"--codec", "opus", "--seconds", "0.5"});
    EXPECT_EQ(report["codec_frames"], 25);
    const Sound recorded = readSound(mOut);
    EXPECT_GT(likeness(recorded, readSound(mInput)), 0.9);
    EXPECT_NEAR(millisecondsCut(recorded, readSound(mInput)), 0, 5);  // a frame has 20 ms
}

/// At 6 kbit/s, 80 frames are shorter than the longest frame that there may be.
TEST_F(UplinkRecording, InOpusTakesShortFramesAtOnce) {
    serve("0");
    const json report =
        record("a.opus", {"--codec", "opus", "--codec-param", "6000", "--seconds", "0.4"});
    EXPECT_EQ(report["live_ms"], 400.0);
    EXPECT_LT(report["elapsed_ms"].get<double>(), 700.0);
}

TEST_F(UplinkRecording, InOpusIsSilentInRealTimeWithoutARing) {
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

TEST_F(UplinkRecording, InOpusKeepsTheStreamsFramesRaw) {
    serve("never");
    const json report = record("a.raw", {"--codec", "opus", "--seconds", "0.1", "--raw"});
    EXPECT_EQ(report["raw"], true);
    const std::string silence("\0\0\0\3\1\2\3\4\xB8\xFF\xFE", 11);
    std::string expected;
    for (int i = 0; i < 5; ++i)
        expected += silence;
    EXPECT_EQ(contentsOf(mOut), expected);
}

TEST_F(UplinkRecording, ContinuesWhenItsRingReturns) {
    serve("0");
    ToolProcess tool(recording("a.opus", {"--codec", "opus", "--seconds", "3", "-v"}));
    ASSERT_TRUE(tool.waitForErr("start read from shm"));
    for (const char* state : {"off", "on"}) {
        EXPECT_EQ(mServer->command(std::string("uplink ring ") + state), "ok");
        ASSERT_TRUE(tool.waitForErr(state == std::string("on") ? "source already now,unInit"
                                                               : "record unInitShareMem"));
    }
    const json report = jsonOf(tool.finishExpecting(0));
    EXPECT_EQ(report["codec_frames"], 150);
    EXPECT_GT(report["live_ms"], 0.0);
    EXPECT_GT(readSound(mOut).info.frames, 0);
}

TEST_F(UplinkRecording, InMsbcIsDecoded) {
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

TEST_F(UplinkRecording, InMsbcIsKeptRaw) {
    serve("never");
    EXPECT_EQ(record("a.msbc", {"--codec", "msbc", "--seconds", "0.06", "--raw"})["codec_frames"],
              8);
    const std::string bytes = contentsOf(mOut);
    ASSERT_EQ(bytes.size(), 8u * 57);
    for (std::size_t frame = 0; frame < 8; ++frame)
        EXPECT_EQ(bytes.substr(frame * 57, 3), std::string("\xAD\0\0", 3));
}

TEST_F(UplinkRecording, InMsbcFailsForLiveData) {
    serve("300");
    const Outcome result = runExpecting(1, {"record", mDirectory.file("a.wav"), "--tag", "uplink",
                                            "--codec", "msbc", "--seconds", "5", "--json"});
    EXPECT_EQ(json::parse(result.out)["ended"], "refused");
    EXPECT_EQ(json::parse(result.out)["status_name"], "AUDIO_BAD_VALUE");
    EXPECT_THAT(result.err, HasSubstr("the library does not deliver live mSBC data; "));
    EXPECT_GT(readSound(mDirectory.file("a.wav")).info.frames, 0);
}

TEST_F(UplinkRecording, InAacKeepsWholeFrames) {
    serve("0");
    const Outcome result = runTool(recording("a.loas", {"--codec", "aac", "--seconds", "2"}));
    if (result.err.find("has not accepted the stream") != std::string::npos)
        GTEST_SKIP() << "the server was built without AAC";
    EXPECT_EQ(result.exitCode, 0) << result.text();
    const json report = json::parse(result.out);
    const std::string bytes = contentsOf(mOut);
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
