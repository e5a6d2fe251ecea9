// SPDX-License-Identifier: Apache-2.0
// Playing on the main output, whose source the server withdraws and activates.
#include "tests/support/ProcessState.h"
#include "tests/tools/ToolTest.h"

#include <csignal>

namespace cabinaudio::test {

namespace {

using namespace std::chrono_literals;

class SinkPlayback : public ToolTest {
protected:
    /// Writes the file that is played, and starts the server.
    void serve(std::size_t frames, const Words& more = {}) {
        writeSound(mFile, {.frames = frames});
        ToolTest::serve(with({"--stems", mDirectory.path()}, more));
    }

    [[nodiscard]] Words playing(const Words& more) const {
        return with({"play", mFile, "--tag", "main", "--name", "sink"}, more);
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

    std::string mFile = mDirectory.file("sound.wav");
};

class SinkOfEitherKind : public SinkPlayback, public testing::WithParamInterface<const char*> {};

constexpr std::uint64_t FRAME_BYTES = 4;

}  // namespace

TEST_P(SinkOfEitherKind, NeitherLosesNorDoublesASample) {
    serve(48000);
    const Outcome result = runExpecting(0, playing({"--json", GetParam()}));
    EXPECT_THAT(result.err, IsEmpty());
    const json report = json::parse(result.out);
    EXPECT_EQ(report["tag"], "main");
    EXPECT_EQ(report["tag_number"], 0);
    EXPECT_EQ(report["ended"], "played");
    EXPECT_EQ(report["bytes_written"], 48000 * FRAME_BYTES);
    EXPECT_EQ(report["bytes_discarded"], 0);
    EXPECT_EQ(report["withdrawals"], 0);
    EXPECT_TRUE(report["finished_after_ms"].is_number());
    mServer.reset();
    EXPECT_TRUE(readSound(mDirectory.file("main-sink.wav")).samples == readSound(mFile).samples);
}

TEST_P(SinkOfEitherKind, ContinuesAfterAWithdrawal) {
    serve(3 * 48000);
    ToolProcess tool(playing({"--json", "-v", GetParam()}));
    ASSERT_TRUE(isHeard());
    tell("withdraw");
    ASSERT_TRUE(tool.waitForErr("Source is deactived done"));
    EXPECT_FALSE(tool.waitForErr("what is never said", 300ms));
    tell("activate");
    const json report = jsonOf(tool.finishExpecting(0));
    EXPECT_EQ(report["withdrawals"], 1);
    EXPECT_GT(report["bytes_discarded"], 0);
    EXPECT_EQ(report["bytes_discarded"].get<std::uint64_t>() % FRAME_BYTES, 0u);
    EXPECT_EQ(report["bytes_written"].get<std::uint64_t>() +
                  report["bytes_discarded"].get<std::uint64_t>(),
              3 * 48000 * FRAME_BYTES);
    EXPECT_EQ(report["text"], "played to the end");
    // The file's time continues while the source is withdrawn.
    EXPECT_LT(report["elapsed_ms"].get<double>(), 4500.0);
    EXPECT_GT(report["elapsed_ms"].get<double>(), 2500.0);
}

INSTANTIATE_TEST_SUITE_P(Both, SinkOfEitherKind, testing::Values("--block", "--no-block"),
                         [](const auto& test) { return wordsOf(test.param); });

TEST_F(SinkPlayback, AccountsForEveryByteInThousandRoutings) {
    serve(3 * 48000);
    ToolProcess tool(playing({"--json", "-v"}));
    ASSERT_TRUE(isHeard());
    for (int i = 0; i < 500; ++i) {
        tell("withdraw");
        tell("activate");
    }
    const json report = jsonOf(tool.finishExpecting(0));
    EXPECT_EQ(report["bytes_written"].get<std::uint64_t>() +
                  report["bytes_discarded"].get<std::uint64_t>(),
              3 * 48000 * FRAME_BYTES)
        << report;
}

TEST_F(SinkPlayback, TimesOutWithoutASource) {
    serve(48000, {"--ring-delay", "60000"});
    const Outcome result = runExpecting(4, playing({"--json", "--timeout", "1"}));
    EXPECT_EQ(json::parse(result.out)["waited_for"], "the source");
    EXPECT_EQ(json::parse(result.out)["bytes_written"], 0);
    EXPECT_THAT(result.err, HasSubstr("timed out after 1 s waiting for the source\n"));
}

TEST_F(SinkPlayback, WaitsForALateSource) {
    serve(4800, {"--ring-delay", "700"});
    const Outcome result = runExpecting(0, playing({"--json"}));
    EXPECT_EQ(json::parse(result.out)["bytes_written"], 4800 * FRAME_BYTES);
}

TEST_F(SinkPlayback, EndsWithStatusZeroWhileWithdrawn) {
    serve(48000);
    ToolProcess tool(playing({"-v"}));
    ASSERT_TRUE(isHeard());
    tell("withdraw");
    const Outcome result = tool.finishExpecting(0);
    EXPECT_THAT(result.out, HasSubstr(": ended while the source was withdrawn, 0:0"));
    EXPECT_THAT(result.out, HasSubstr("; the source was withdrawn once, "));
    EXPECT_THAT(result.out, HasSubstr(" bytes were discarded\n"));
}

TEST_F(SinkPlayback, IsInterruptedWhileItsSourceIsWithdrawn) {
    serve(480000);
    ToolProcess tool(playing({"--json", "-v"}));
    ASSERT_TRUE(isHeard());
    tell("withdraw");
    ASSERT_TRUE(tool.waitForErr("write ineffective"));
    tool.send(SIGINT);
    const Outcome result = tool.finishExpecting(1);
    EXPECT_EQ(json::parse(result.out)["ended"], "interrupted");
    EXPECT_THAT(result.err, HasSubstr("; the source was withdrawn once, "));
}

TEST_F(SinkPlayback, ShowsAWithdrawalOnATerminal) {
    serve(96000);
    ToolProcess tool(playing({}), {.errOnTerminal = true});
    ASSERT_TRUE(isHeard());
    tell("withdraw");
    EXPECT_TRUE(tool.waitForErr("source withdrawn"));
    tool.finishExpecting(0);
}

}  // namespace cabinaudio::test
