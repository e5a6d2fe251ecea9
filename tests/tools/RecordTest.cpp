// SPDX-License-Identifier: Apache-2.0
// Recordings of the server's inputs.
#include "tests/support/Row.h"
#include "tests/tools/ToolTest.h"
#include "wire/Stream.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>

namespace cabinaudio::test {

namespace {

/// A tool that is slow, as in an emulator, must not lose anything.
constexpr char RING_PERIODS[] = "128";

constexpr std::size_t SECOND = 48000;

/// A server whose inputs are a sound of one second, over and over.
class Recording : public ToolTest {
protected:
    void serve(const SoundShape& shape, const std::string& tag = "") {
        writeSound(mInput, shape);
        const std::string input = tag.empty() ? mInput : tag + "=" + mInput;
        ToolTest::serve({"--input", input, "--ring-periods", RING_PERIODS});
    }

    /// Expects that a recording is the input's first `samples` samples.
    void expectBeginningOfInput(const std::string& recorded, std::size_t samples) const {
        Sound input = readSound(mInput);
        input.samples.resize(samples);
        EXPECT_TRUE(readSound(recorded).samples == input.samples);
    }

    /// One second that is quiet but for a single sample of half of full scale.
    void writeClick(std::size_t at) const {
        std::vector<std::int16_t> samples(2 * SECOND, 1);
        samples[2 * at] = 16384;
        SF_INFO info = {};
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        info.samplerate = SECOND;
        info.channels = 2;
        SNDFILE* const click = sf_open(mInput.c_str(), SFM_WRITE, &info);
        ASSERT_NE(click, nullptr);
        EXPECT_EQ(sf_writef_short(click, samples.data(), SECOND), sf_count_t{SECOND});
        sf_close(click);
    }

    std::string mInput = mDirectory.file("input.wav");
};

/// The format of the stream and what kind of file it becomes.
struct Kept : Row {
    const char* format;
    const char* file;
    int inputFormat;
    int fileFormat;
};

class RecordingOfAnyKind : public Recording, public testing::WithParamInterface<Kept> {};

}  // namespace

TEST_P(RecordingOfAnyKind, LosesNothing) {
    serve({SF_FORMAT_WAV | GetParam().inputFormat, 48000, 2, SECOND});
    const std::string out = file(GetParam().file);
    const Outcome result =
        runExpecting(0, {"record", out, "--seconds", "0.5", "--format", GetParam().format});
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_THAT(result.out, StartsWith(out + ": recorded, 0:00.5 of input0; peak -"));
    const Sound recorded = readSound(out);
    EXPECT_EQ(recorded.info.format & SF_FORMAT_SUBMASK, GetParam().fileFormat);
    EXPECT_EQ(recorded.info.frames, SECOND / 2);
    expectBeginningOfInput(out, SECOND);
}

INSTANTIATE_TEST_SUITE_P(
    Kind, RecordingOfAnyKind,
    testing::Values(Kept{"Wav16", "s16", "a.wav", SF_FORMAT_PCM_16, SF_FORMAT_PCM_16},
                    Kept{"Wav8", "u8", "a.wav", SF_FORMAT_PCM_U8, SF_FORMAT_PCM_U8},
                    Kept{"Wav24", "s24", "a.WAV", SF_FORMAT_PCM_24, SF_FORMAT_PCM_24},
                    Kept{"Wav32", "s32", "a.wav", SF_FORMAT_PCM_24, SF_FORMAT_PCM_32},
                    Kept{"Flac16", "s16", "a.flac", SF_FORMAT_PCM_16, SF_FORMAT_PCM_16},
                    Kept{"Flac8", "u8", "a.flac", SF_FORMAT_PCM_U8, SF_FORMAT_PCM_S8},
                    Kept{"Flac24", "s24", "a.flac", SF_FORMAT_PCM_24, SF_FORMAT_PCM_24}),
    ROW_NAME);

class RecordedTag : public Recording, public testing::WithParamInterface<const char*> {};

TEST_P(RecordedTag, RecordsItsInput) {
    serve({SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16000, 1, 16000}, GetParam());
    const std::string out = file("a.wav");
    const Outcome result = runExpecting(0, {"record", out, "--seconds", "0.25", "--tag", GetParam(),
                                            "--rate", "16000", "--channels", "1", "--json"});
    EXPECT_EQ(json::parse(result.out)["tag"], GetParam());
    expectBeginningOfInput(out, 4000);
}

INSTANTIATE_TEST_SUITE_P(Every, RecordedTag,
                         testing::Values("input0", "input1", "input2", "input_front_feedback"),
                         [](const auto& test) { return std::string(test.param); });

TEST_F(Recording, ReportsTypedFiguresWithTheirUnits) {
    serve({SF_FORMAT_WAV | SF_FORMAT_PCM_24, 48000, 2, SECOND});
    const std::string out = file("a.wav");
    const json report =
        jsonOf(runExpecting(0, {"record", out, "--seconds", "0.5", "--format", "s24", "--name",
                                "typed", "--stream-param", "7", "--json"}));
    EXPECT_EQ(report["file"], out);
    EXPECT_EQ(report["name"], "typed");
    EXPECT_EQ(report["tag"], "input0");
    EXPECT_EQ(report["tag_number"], 64);
    EXPECT_EQ(report["codec"], "pcm");
    EXPECT_EQ(report["raw"], false);
    EXPECT_EQ(report["sample_rate_hz"], 48000);
    EXPECT_EQ(report["channels"], 2);
    EXPECT_EQ(report["bits_per_sample"], 24);
    EXPECT_EQ(report["wanted_ms"], 500.0);
    EXPECT_EQ(report["recorded_ms"], 500.0);
    EXPECT_EQ(report["silent_ms"], 0.0);
    EXPECT_EQ(report["live_ms"], 500.0);
    EXPECT_GE(report["elapsed_ms"].get<double>(), 450.0);
    EXPECT_EQ(report["bytes_recorded"], 144000);
    EXPECT_TRUE(report["codec_frames"].is_null());
    EXPECT_LT(report["peak_db"].get<double>(), 0.0);
    EXPECT_GT(report["peak_db"].get<double>(), -12.0);
    EXPECT_EQ(report["per_loop_bytes"], 4608);
    EXPECT_EQ(report["ring_bytes"], 128 * 4608);
    EXPECT_EQ(report["read_timeouts"], 0);
    EXPECT_EQ(report["ended"], "recorded");
    EXPECT_EQ(report["status_name"], "AUDIO_NO_ERROR");
    EXPECT_TRUE(report["waited_for"].is_null());
}

/// Loud at the end only: a recording that is shorter than a step of the meter has it all the same.
TEST_F(Recording, HasThePeakOfAllThatWasRecorded) {
    writeClick(SECOND / 2 - 10);
    ToolTest::serve({"--input", mInput, "--fast"});
    const json report =
        jsonOf(runExpecting(0, {"record", file("a.wav"), "--seconds", "0.5", "--json"}));
    EXPECT_NEAR(report["peak_db"].get<double>(), -6.02, 0.01);
}

TEST_F(Recording, WithoutBlockingLosesNothing) {
    serve({.frames = SECOND});
    const std::string out = file("a.wav");
    runExpecting(0, {"record", out, "--seconds", "0.5", "--no-block"});
    expectBeginningOfInput(out, SECOND);
}

TEST_F(Recording, GoesToStandardOutputAsItComes) {
    serve({.frames = SECOND});
    const Outcome result = runExpecting(0, {"record", "-", "--seconds", "0.1"});
    EXPECT_THAT(result.err, IsEmpty());
    const std::string input = contentsOf(mInput);
    EXPECT_EQ(result.out.size(), 4800u * 4);
    EXPECT_TRUE(result.out == input.substr(input.size() - SECOND * 4, 4800 * 4));
}

TEST_F(Recording, IsKeptRawInAFileOfAnyName) {
    serve({.frames = SECOND});
    const std::string out = file("a.mp3");
    runExpecting(0, {"record", out, "--seconds", "0.1", "--raw"});
    const std::string input = contentsOf(mInput);
    EXPECT_TRUE(contentsOf(out) == input.substr(input.size() - SECOND * 4, 4800 * 4));
}

TEST_F(Recording, HasTheLevelOfItsVolume) {
    serve({.frames = SECOND});
    const std::string out = file("a.wav");
    const Outcome result =
        runExpecting(0, {"record", out, "--seconds", "0.1", "--volume", "0", "--json"});
    EXPECT_EQ(json::parse(result.out)["peak_db"], -120.0);
    EXPECT_THAT(withoutSilence(readSound(out).samples), IsEmpty());
}

// ---- Its ends -----------------------------------------------------------------------------------

class RecordingSignal : public Recording, public testing::WithParamInterface<int> {};

TEST_P(RecordingSignal, CompletesTheFile) {
    serve({.frames = SECOND});
    const std::string out = file("a.wav");
    ToolProcess tool({"record", out, "--name", "open", "-v"});
    ASSERT_TRUE(tool.waitForErr("start done"));
    tool.send(GetParam());
    const Outcome result = tool.finishExpecting(0);
    EXPECT_THAT(result.out, HasSubstr(": recorded until SIG"));
    EXPECT_THAT(result.err, HasSubstr("stop done"));
    const std::size_t recorded = readSound(out).samples.size();
    ASSERT_LE(recorded, readSound(mInput).samples.size());
    expectBeginningOfInput(out, recorded);
    EXPECT_THAT(mServer->command("state"), Not(HasSubstr("\"name\":\"open\"")));
}

INSTANTIATE_TEST_SUITE_P(Any, RecordingSignal, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         nameOfSignal);

TEST_F(Recording, InterruptedBeforeItsTimeEndsWithStatusOne) {
    serve({.frames = SECOND});
    ToolProcess tool({"record", file("a.wav"), "--seconds", "60", "--json", "-v"});
    ASSERT_TRUE(tool.waitForErr("start done"));
    tool.send(SIGINT);
    const Outcome result = tool.finishExpecting(1);
    EXPECT_EQ(json::parse(result.out)["ended"], "interrupted");
    EXPECT_THAT(result.err, HasSubstr("interrupted by SIGINT"));
    EXPECT_GE(readSound(file("a.wav")).info.frames, 0);
}

class LostRecording : public Recording, public testing::WithParamInterface<const char*> {};

TEST_P(LostRecording, KeepsTheRecordedPart) {
    serve({.frames = SECOND});
    const std::string out = file("a.wav");
    ToolProcess tool({"record", out, "--seconds", "60", "--json", "-v", GetParam()});
    ASSERT_TRUE(tool.waitForErr("start done"));
    // Data must have arrived a second after the start.
    EXPECT_FALSE(tool.waitForErr("what is never said", std::chrono::seconds(1)));
    mServer->kill(SIGKILL);
    const Outcome result = tool.finishExpecting(3);
    EXPECT_EQ(json::parse(result.out)["ended"], "lost");
    EXPECT_THAT(result.err, HasSubstr("the server is gone"));
    if (GetParam() == std::string("--tag=uplink")) return;  // its rate is not the input's
    const Sound recorded = readSound(out);
    Sound input = readSound(mInput);
    EXPECT_GT(recorded.info.frames, 0);
    const std::size_t both = std::min(recorded.samples.size(), input.samples.size());
    EXPECT_TRUE(std::equal(recorded.samples.begin(),
                           recorded.samples.begin() + static_cast<std::ptrdiff_t>(both),
                           input.samples.begin()));
}

INSTANTIATE_TEST_SUITE_P(Any, LostRecording,
                         testing::Values("--block", "--no-block", "--tag=uplink"),
                         [](const auto& test) { return wordsOf(test.param); });

TEST_F(Recording, EndsWhenTheServerRemovesTheStream) {
    serve({.frames = SECOND});
    ToolProcess tool({"record", file("a.wav"), "--json", "-v", "--name", "victim"});
    ASSERT_TRUE(tool.waitForErr("start done"));
    EXPECT_EQ(mServer->command("stream remove victim"), "ok");
    const Outcome result = tool.finishExpecting(1);
    EXPECT_EQ(json::parse(result.out)["ended"], "removed");
    EXPECT_THAT(result.err, HasSubstr("the server has removed the stream"));
}

TEST_F(Recording, EndsWhenTheServerStandsStill) {
    serve({.frames = SECOND});
    ToolProcess tool({"record", file("a.wav"), "--timeout", "2", "--json", "-v"});
    ASSERT_TRUE(tool.waitForErr("start done"));
    mServer->kill(SIGSTOP);
    const json report = jsonOf(tool.finishExpecting(4));
    mServer->kill(SIGCONT);
    EXPECT_EQ(report["ended"], "timed_out");
    EXPECT_GE(report["read_timeouts"], 1);
    EXPECT_GE(readSound(file("a.wav")).info.frames, 0);
}

// ---- Requests without an answer, and refusals ---------------------------------------------------

/// A server that takes a capture stream and does with it what the test says.
class ScriptedRecording : public Recording {
protected:
    void SetUp() override {
        mScripted.on(id(wire::CaptureFunction::Create),
                     Answer::words(0, 0, 65536, 3072, 16, 768, 0));
    }

    Outcome recordExpecting(int status, const Words& more = {}) const {
        return runExpecting(status,
                            with({"record", file("a.wav"), "--json", "--timeout", "1"}, more));
    }

    ScriptedServer mScripted;
};

class UnansweredRecording : public ScriptedRecording,
                            public testing::WithParamInterface<wire::CaptureFunction> {};

TEST_P(UnansweredRecording, TimesOut) {
    mScripted.on(id(GetParam()), Answer::none());
    const json report = jsonOf(recordExpecting(4, {"--volume", "50"}));
    EXPECT_EQ(report["ended"], "timed_out");
    EXPECT_THAT(report["waited_for"].get<std::string>(), StartsWith("the server to "));
    EXPECT_EQ(report["bytes_recorded"], 0);
}

INSTANTIATE_TEST_SUITE_P(
    Any, UnansweredRecording,
    testing::Values(wire::CaptureFunction::Create, wire::CaptureFunction::InitCheck,
                    wire::CaptureFunction::SetVolume, wire::CaptureFunction::Start),
    [](const auto& test) { return "Request" + std::to_string(id(test.param)); });

TEST_F(ScriptedRecording, CompletesTheFileWhenTheStartIsNotAnswered) {
    mScripted.on(id(wire::CaptureFunction::Start), Answer::none());
    recordExpecting(4);
    EXPECT_EQ(readSound(file("a.wav")).info.frames, 0);
}

TEST_F(ScriptedRecording, RefusedStreamEndsWithStatusOne) {
    mScripted.on(id(wire::CaptureFunction::Create), Answer::words(-5, 0, 0, 0, 0, 0, 0));
    const Outcome result = recordExpecting(1);
    EXPECT_EQ(json::parse(result.out)["ended"], "refused");
    EXPECT_THAT(result.err, HasSubstr("the server has not accepted the stream"));
}

TEST_F(ScriptedRecording, RefusedStartReportsTheStatus) {
    mScripted.on(id(wire::CaptureFunction::Start), Answer::status(-4711));
    const Outcome result = recordExpecting(1);
    EXPECT_THAT(result.err, HasSubstr("cannot start the stream: status -4711\n"));
}

TEST_F(ScriptedRecording, IsInterruptedDuringARequest) {
    mScripted.on(id(wire::CaptureFunction::Start), Answer::none());
    ToolProcess tool({"record", file("a.wav"), "--timeout", "600"});
    ASSERT_TRUE(mScripted.waitForRequest(id(wire::CaptureFunction::Start)));
    tool.send(SIGINT);
    const Outcome result = tool.finishExpecting(1);
    EXPECT_THAT(result.err, HasSubstr("interrupted by SIGINT while waiting for the server to "
                                      "start the stream\n"));
}

TEST_F(Recording, WithoutAServerDoesNotTouchTheFile) {
    std::ofstream(file("a.wav")) << "precious";
    const Outcome result = runExpecting(3, {"record", file("a.wav")});
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, HasSubstr("no server"));
    EXPECT_EQ(contentsOf(file("a.wav")), "precious");
}

TEST_F(Recording, FailsForAFileThatCannotBeWritten) {
    serve({.frames = SECOND});
    const Outcome result = runExpecting(1, {"record", file("none/a.wav"), "--seconds", "1"});
    EXPECT_EQ(result.err, "cabinaudio: " + file("none/a.wav") + ": No such file or directory\n");
}

TEST_F(Recording, ReportsAFullDisk) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "there is no /dev/full";
    serve({.frames = SECOND});
    const Outcome result = runExpecting(1, {"record", "/dev/full", "--raw", "--seconds", "1"});
    EXPECT_THAT(result.err, HasSubstr("cannot be written: No space left on device"));
}

}  // namespace cabinaudio::test
