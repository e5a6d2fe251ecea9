// SPDX-License-Identifier: Apache-2.0
// What becomes of the server's inputs when they are recorded.
#include "tests/server/TemporaryDirectory.h"
#include "tests/support/RealServer.h"
#include "tests/support/ScriptedServer.h"
#include "tests/tools/Sounds.h"
#include "tests/tools/ToolProcess.h"
#include "wire/Stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace cabinaudio::test {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A tool that is slow, as in an emulator, must not lose anything.
constexpr char kRingPeriods[] = "128";

/// A server whose inputs are a sound of one second, over and over.
class ARecording : public testing::Test {
protected:
    void serve(const SoundShape& shape, const std::string& tag = "") {
        writeSound(mInput, shape);
        const std::string input = tag.empty() ? mInput : tag + "=" + mInput;
        mServer = std::make_unique<RealServer>(std::vector<std::string>{
            "--output", "null", "--input", input, "--ring-periods", kRingPeriods});
    }

    [[nodiscard]] std::string file(const std::string& name) const { return mDirectory.file(name); }

    TemporaryDirectory mDirectory;
    std::string mInput = mDirectory.file("input.wav");
    std::unique_ptr<RealServer> mServer;
};

constexpr std::size_t kSecond = 48000;

/// The format of the stream and what kind of file it becomes.
struct Kept {
    const char* name;
    const char* format;
    const char* file;
    int inputFormat;
    int fileFormat;
};

void PrintTo(const Kept& kept, std::ostream* out) {
    *out << kept.name;
}

class ARecordingOfAnyKind : public ARecording, public testing::WithParamInterface<Kept> {};

}  // namespace

TEST_P(ARecordingOfAnyKind, LosesNothing) {
    serve({SF_FORMAT_WAV | GetParam().inputFormat, 48000, 2, kSecond});
    const std::string out = file(GetParam().file);
    const ToolResult result =
        runTool({"record", out, "--seconds", "0.5", "--format", GetParam().format});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_THAT(result.out, testing::StartsWith(out + ": recorded, 0:00.5 of input0; peak -"));
    const Sound recorded = readSound(out);
    EXPECT_EQ(recorded.info.format & SF_FORMAT_SUBMASK, GetParam().fileFormat);
    EXPECT_EQ(recorded.info.frames, kSecond / 2);
    Sound input = readSound(mInput);
    input.samples.resize(kSecond);
    EXPECT_TRUE(recorded.samples == input.samples);
}

INSTANTIATE_TEST_SUITE_P(
    Kind, ARecordingOfAnyKind,
    testing::Values(Kept{"Wav16", "s16", "a.wav", SF_FORMAT_PCM_16, SF_FORMAT_PCM_16},
                    Kept{"Wav8", "u8", "a.wav", SF_FORMAT_PCM_U8, SF_FORMAT_PCM_U8},
                    Kept{"Wav24", "s24", "a.WAV", SF_FORMAT_PCM_24, SF_FORMAT_PCM_24},
                    Kept{"Wav32", "s32", "a.wav", SF_FORMAT_PCM_24, SF_FORMAT_PCM_32},
                    Kept{"Flac16", "s16", "a.flac", SF_FORMAT_PCM_16, SF_FORMAT_PCM_16},
                    Kept{"Flac8", "u8", "a.flac", SF_FORMAT_PCM_U8, SF_FORMAT_PCM_S8},
                    Kept{"Flac24", "s24", "a.flac", SF_FORMAT_PCM_24, SF_FORMAT_PCM_24}),
    [](const auto& kept) { return kept.param.name; });

class AnInput : public ARecording, public testing::WithParamInterface<const char*> {};

TEST_P(AnInput, IsRecordedByItsTag) {
    serve({SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16000, 1, 16000}, GetParam());
    const std::string out = file("a.wav");
    const ToolResult result = runTool({"record", out, "--seconds", "0.25", "--tag", GetParam(),
                                       "--rate", "16000", "--channels", "1", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_EQ(json::parse(result.out)["tag"], GetParam());
    Sound input = readSound(mInput);
    input.samples.resize(4000);
    EXPECT_TRUE(readSound(out).samples == input.samples);
}

INSTANTIATE_TEST_SUITE_P(Every, AnInput,
                         testing::Values("input0", "input1", "input2", "input_front_feedback"));

TEST_F(ARecording, ReportsTypedFiguresWithTheirUnits) {
    serve({SF_FORMAT_WAV | SF_FORMAT_PCM_24, 48000, 2, kSecond});
    const std::string out = file("a.wav");
    const ToolResult result = runTool({"record", out, "--seconds", "0.5", "--format", "s24",
                                       "--name", "typed", "--stream-param", "7", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    const json report = json::parse(result.out);
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

TEST_F(ARecording, WithoutBlockingLosesNothing) {
    serve({.frames = kSecond});
    const std::string out = file("a.wav");
    const ToolResult result = runTool({"record", out, "--seconds", "0.5", "--no-block"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    Sound input = readSound(mInput);
    input.samples.resize(kSecond);
    EXPECT_TRUE(readSound(out).samples == input.samples);
}

TEST_F(ARecording, GoesToStandardOutputAsItComes) {
    serve({.frames = kSecond});
    const ToolResult result = runTool({"record", "-", "--seconds", "0.1"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.err, IsEmpty());
    const std::string input = contents(mInput);
    EXPECT_EQ(result.out.size(), 4800u * 4);
    EXPECT_TRUE(result.out == input.substr(input.size() - kSecond * 4, 4800 * 4));
}

TEST_F(ARecording, IsKeptRawInAFileOfAnyName) {
    serve({.frames = kSecond});
    const std::string out = file("a.mp3");
    EXPECT_EQ(runTool({"record", out, "--seconds", "0.1", "--raw"}).exitCode, 0);
    const std::string input = contents(mInput);
    EXPECT_TRUE(contents(out) == input.substr(input.size() - kSecond * 4, 4800 * 4));
}

TEST_F(ARecording, IsAsLoudAsItsVolume) {
    serve({.frames = kSecond});
    const std::string out = file("a.wav");
    const ToolResult result =
        runTool({"record", out, "--seconds", "0.1", "--volume", "0", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_EQ(json::parse(result.out)["peak_db"], -120.0);
    EXPECT_THAT(withoutSilence(readSound(out).samples), IsEmpty());
}

// ---- its ends -------------------------------------------------------------------

class ARecordingsSignal : public ARecording, public testing::WithParamInterface<int> {};

TEST_P(ARecordingsSignal, CompletesTheFile) {
    serve({.frames = kSecond});
    const std::string out = file("a.wav");
    ToolProcess tool({"record", out, "--name", "open", "-v"});
    ASSERT_TRUE(tool.waitForErr("start done"));
    tool.send(GetParam());
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.out, HasSubstr(": recorded until SIG"));
    EXPECT_THAT(result.err, HasSubstr("stop done"));
    const Sound recorded = readSound(out);
    Sound input = readSound(mInput);
    ASSERT_LE(recorded.samples.size(), input.samples.size());
    EXPECT_TRUE(
        std::equal(recorded.samples.begin(), recorded.samples.end(), input.samples.begin()));
    EXPECT_THAT(mServer->command("state"), testing::Not(HasSubstr("\"open\"")));
}

INSTANTIATE_TEST_SUITE_P(Any, ARecordingsSignal, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST_F(ARecording, ThatIsInterruptedBeforeItsTimeIsNotDone) {
    serve({.frames = kSecond});
    ToolProcess tool({"record", file("a.wav"), "--seconds", "60", "--json", "-v"});
    ASSERT_TRUE(tool.waitForErr("start done"));
    tool.send(SIGINT);
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "interrupted");
    EXPECT_THAT(result.err, HasSubstr("interrupted by SIGINT"));
    EXPECT_GE(readSound(file("a.wav")).info.frames, 0);
}

class ALostRecording : public ARecording, public testing::WithParamInterface<const char*> {};

TEST_P(ALostRecording, KeepsWhatItHas) {
    serve({.frames = kSecond});
    const std::string out = file("a.wav");
    ToolProcess tool({"record", out, "--seconds", "60", "--json", "-v", GetParam()});
    ASSERT_TRUE(tool.waitForErr("start done"));
    // A second after the start something must have come.
    EXPECT_FALSE(tool.waitForErr("what is never said", std::chrono::seconds(1)));
    mServer->kill(SIGKILL);
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 3) << result.text();
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

INSTANTIATE_TEST_SUITE_P(Any, ALostRecording,
                         testing::Values("--block", "--no-block", "--tag=uplink"),
                         [](const auto& test) { return wordsOf(test.param); });

TEST_F(ARecording, EndsWhenTheServerRemovesTheStream) {
    serve({.frames = kSecond});
    ToolProcess tool({"record", file("a.wav"), "--json", "-v", "--name", "victim"});
    ASSERT_TRUE(tool.waitForErr("start done"));
    EXPECT_EQ(mServer->command("stream remove victim"), "ok");
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "removed");
    EXPECT_THAT(result.err, HasSubstr("the server has removed the stream"));
}

TEST_F(ARecording, EndsWhenTheServerStandsStill) {
    serve({.frames = kSecond});
    ToolProcess tool({"record", file("a.wav"), "--timeout", "2", "--json", "-v"});
    ASSERT_TRUE(tool.waitForErr("start done"));
    mServer->kill(SIGSTOP);
    const ToolResult result = tool.wait();
    mServer->kill(SIGCONT);
    EXPECT_EQ(result.exitCode, 4) << result.text();
    const json report = json::parse(result.out);
    EXPECT_EQ(report["ended"], "timed_out");
    EXPECT_GE(report["read_timeouts"], 1);
    EXPECT_GE(readSound(file("a.wav")).info.frames, 0);
}

// ---- requests without an answer, and refusals -----------------------------------

/// A server that takes a capture stream and does with it what the test says.
class AScriptedRecording : public ARecording {
protected:
    void SetUp() override {
        mScripted.on(id(wire::CaptureFunction::Create),
                     Answer::words(0, 0, 65536, 3072, 16, 768, 0));
    }

    static std::uint32_t id(wire::CaptureFunction function) {
        return static_cast<std::uint32_t>(function);
    }

    [[nodiscard]] ToolResult record(std::vector<std::string> more) const {
        std::vector<std::string> words = {"record", file("a.wav"), "--json", "--timeout", "1"};
        words.insert(words.end(), more.begin(), more.end());
        return runTool(words);
    }

    ScriptedServer mScripted;
};

class AnUnansweredRecording : public AScriptedRecording,
                              public testing::WithParamInterface<wire::CaptureFunction> {};

TEST_P(AnUnansweredRecording, TimesOut) {
    mScripted.on(id(GetParam()), Answer::none());
    const ToolResult result = record({"--volume", "50"});
    EXPECT_EQ(result.exitCode, 4) << result.text();
    const json report = json::parse(result.out);
    EXPECT_EQ(report["ended"], "timed_out");
    EXPECT_THAT(report["waited_for"].get<std::string>(), testing::StartsWith("the server to "));
    EXPECT_EQ(report["bytes_recorded"], 0);
}

INSTANTIATE_TEST_SUITE_P(
    Any, AnUnansweredRecording,
    testing::Values(wire::CaptureFunction::Create, wire::CaptureFunction::InitCheck,
                    wire::CaptureFunction::SetVolume, wire::CaptureFunction::Start),
    [](const auto& test) {
        return "Request" + std::to_string(static_cast<std::uint32_t>(test.param));
    });

TEST_F(AScriptedRecording, CompletesTheFileWhenTheStartIsNotAnswered) {
    mScripted.on(id(wire::CaptureFunction::Start), Answer::none());
    EXPECT_EQ(record({}).exitCode, 4);
    EXPECT_EQ(readSound(file("a.wav")).info.frames, 0);
}

TEST_F(AScriptedRecording, ThatIsRefusedEndsWithStatusOne) {
    mScripted.on(id(wire::CaptureFunction::Create), Answer::words(-5, 0, 0, 0, 0, 0, 0));
    const ToolResult result = record({});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "refused");
    EXPECT_THAT(result.err, HasSubstr("the server has not accepted the stream"));
}

TEST_F(AScriptedRecording, ThatIsNotStartedTellsTheStatus) {
    mScripted.on(id(wire::CaptureFunction::Start), Answer::status(-4711));
    const ToolResult result = record({});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_THAT(result.err, HasSubstr("cannot start the stream: status -4711\n"));
}

TEST_F(AScriptedRecording, IsInterruptedDuringARequestToo) {
    mScripted.on(id(wire::CaptureFunction::Start), Answer::none());
    ToolProcess tool({"record", file("a.wav"), "--timeout", "600"});
    ASSERT_TRUE(mScripted.waitForRequest(id(wire::CaptureFunction::Start)));
    tool.send(SIGINT);
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_THAT(result.err, HasSubstr("interrupted by SIGINT while waiting for the server to "
                                      "start the stream\n"));
}

TEST_F(ARecording, WithoutAServerLeavesTheFileAlone) {
    std::ofstream(file("a.wav")) << "precious";
    const ToolResult result = runTool({"record", file("a.wav")});
    EXPECT_EQ(result.exitCode, 3) << result.text();
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, HasSubstr("no server"));
    EXPECT_EQ(contents(file("a.wav")), "precious");
}

TEST_F(ARecording, NeedsAFileThatCanBeWritten) {
    serve({.frames = kSecond});
    const ToolResult result = runTool({"record", file("none/a.wav"), "--seconds", "1"});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(result.err, "cabinaudio: " + file("none/a.wav") + ": No such file or directory\n");
}

TEST_F(ARecording, SaysThatTheDiskIsFull) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "there is no /dev/full";
    serve({.frames = kSecond});
    const ToolResult result = runTool({"record", "/dev/full", "--raw", "--seconds", "1"});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_THAT(result.err, HasSubstr("cannot be written: No space left on device"));
}

}  // namespace cabinaudio::test
