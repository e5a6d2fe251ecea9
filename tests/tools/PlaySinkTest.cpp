// SPDX-License-Identifier: Apache-2.0
// Playing on the main output, whose source the server takes away and gives back.
#include "tests/server/TemporaryDirectory.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"
#include "tests/tools/Sounds.h"
#include "tests/tools/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>

namespace cabinaudio::test {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace std::chrono_literals;

class ASink : public testing::Test {
protected:
    void serve(std::vector<std::string> more = {}) {
        std::vector<std::string> arguments = {"--output", "null", "--stems", mDirectory.path()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        mServer = std::make_unique<RealServer>(arguments);
    }

    [[nodiscard]] std::vector<std::string> playing(std::vector<std::string> more) const {
        std::vector<std::string> words = {"play", mFile, "--tag", "main", "--name", "sink"};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }

    void tell(const std::string& what) const {
        EXPECT_EQ(mServer->command("source " + what + " sink"), "ok");
    }

    /// A source that is withdrawn before the tool has seen it counts as one that never came.
    [[nodiscard]] bool isHeard() const {
        return eventually([&] {
            const json state = json::parse(mServer->command("state"));
            return !state["streams"].empty() && state["streams"][0]["frames"] > 0;
        });
    }

    TemporaryDirectory mDirectory;
    std::string mFile = mDirectory.file("sound.wav");
    std::unique_ptr<RealServer> mServer;
};

class ASinkOfEitherKind : public ASink, public testing::WithParamInterface<const char*> {};

constexpr std::uint64_t kFrameBytes = 4;

}  // namespace

TEST_P(ASinkOfEitherKind, NeitherLosesNorDoublesASample) {
    writeSound(mFile, {.frames = 48000});
    serve();
    const ToolResult result = runTool(playing({"--json", GetParam()}));
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.err, IsEmpty());
    const json report = json::parse(result.out);
    EXPECT_EQ(report["tag"], "main");
    EXPECT_EQ(report["tag_number"], 0);
    EXPECT_EQ(report["ended"], "played");
    EXPECT_EQ(report["bytes_written"], 48000 * kFrameBytes);
    EXPECT_EQ(report["bytes_discarded"], 0);
    EXPECT_EQ(report["withdrawals"], 0);
    EXPECT_TRUE(report["finished_after_ms"].is_number());
    mServer.reset();
    EXPECT_TRUE(readSound(mDirectory.file("main-sink.wav")).samples == readSound(mFile).samples);
}

TEST_P(ASinkOfEitherKind, GoesOnWhenItsSourceIsWithdrawn) {
    writeSound(mFile, {.frames = 3 * 48000});
    serve();
    ToolProcess tool(playing({"--json", "-v", GetParam()}));
    ASSERT_TRUE(isHeard());
    tell("withdraw");
    ASSERT_TRUE(tool.waitForErr("Source is deactived done"));
    EXPECT_FALSE(tool.waitForErr("what is never said", 300ms));
    tell("activate");
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 0) << result.text();
    const json report = json::parse(result.out);
    EXPECT_EQ(report["withdrawals"], 1);
    EXPECT_GT(report["bytes_discarded"], 0);
    EXPECT_EQ(report["bytes_discarded"].get<std::uint64_t>() % kFrameBytes, 0u);
    EXPECT_EQ(report["bytes_written"].get<std::uint64_t>() +
                  report["bytes_discarded"].get<std::uint64_t>(),
              3 * 48000 * kFrameBytes);
    EXPECT_EQ(report["text"], "played to the end");
    // The file's time goes on while nobody hears it.
    EXPECT_LT(report["elapsed_ms"].get<double>(), 4500.0);
    EXPECT_GT(report["elapsed_ms"].get<double>(), 2500.0);
}

INSTANTIATE_TEST_SUITE_P(Both, ASinkOfEitherKind, testing::Values("--block", "--no-block"),
                         [](const auto& test) { return wordsOf(test.param); });

TEST_F(ASink, AccountsForEveryByteInAStorm) {
    writeSound(mFile, {.frames = 3 * 48000});
    serve();
    ToolProcess tool(playing({"--json", "-v"}));
    ASSERT_TRUE(isHeard());
    for (int i = 0; i < 500; ++i) {
        ASSERT_EQ(mServer->command("source withdraw sink"), "ok");
        ASSERT_EQ(mServer->command("source activate sink"), "ok");
    }
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 0) << result.text();
    const json report = json::parse(result.out);
    EXPECT_EQ(report["bytes_written"].get<std::uint64_t>() +
                  report["bytes_discarded"].get<std::uint64_t>(),
              3 * 48000 * kFrameBytes)
        << report;
}

TEST_F(ASink, DoesNotWaitForASourceThatNeverComes) {
    writeSound(mFile, {.frames = 48000});
    serve({"--ring-delay", "60000"});
    const ToolResult result = runTool(playing({"--json", "--timeout", "1"}));
    EXPECT_EQ(result.exitCode, 4) << result.text();
    EXPECT_EQ(json::parse(result.out)["waited_for"], "the source");
    EXPECT_EQ(json::parse(result.out)["bytes_written"], 0);
    EXPECT_THAT(result.err, HasSubstr("timed out after 1 s waiting for the source\n"));
}

TEST_F(ASink, WaitsForASourceThatComesLate) {
    writeSound(mFile, {.frames = 4800});
    serve({"--ring-delay", "700"});
    const ToolResult result = runTool(playing({"--json"}));
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_EQ(json::parse(result.out)["bytes_written"], 4800 * kFrameBytes);
}

TEST_F(ASink, EndsQuietlyWithoutItsSource) {
    writeSound(mFile, {.frames = 48000});
    serve();
    ToolProcess tool(playing({"-v"}));
    ASSERT_TRUE(isHeard());
    tell("withdraw");
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.out, HasSubstr(": ended while the source was withdrawn, 0:0"));
    EXPECT_THAT(result.out, HasSubstr("; the source was withdrawn once, "));
    EXPECT_THAT(result.out, HasSubstr(" bytes were discarded\n"));
}

TEST_F(ASink, IsInterruptedWhileItsSourceIsWithdrawn) {
    writeSound(mFile, {.frames = 480000});
    serve();
    ToolProcess tool(playing({"--json", "-v"}));
    ASSERT_TRUE(isHeard());
    tell("withdraw");
    ASSERT_TRUE(tool.waitForErr("write ineffective"));
    tool.send(SIGINT);
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "interrupted");
    EXPECT_THAT(result.err, HasSubstr("; the source was withdrawn once, "));
}

TEST_F(ASink, SaysOnATerminalThatItsSourceIsWithdrawn) {
    writeSound(mFile, {.frames = 96000});
    serve();
    ToolSetup setup;
    setup.errOnTerminal = true;
    ToolProcess tool(playing({}), setup);
    ASSERT_TRUE(isHeard());
    tell("withdraw");
    EXPECT_TRUE(tool.waitForErr("source withdrawn"));
    EXPECT_EQ(tool.wait().exitCode, 0);
}

}  // namespace cabinaudio::test
