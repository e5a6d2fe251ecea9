// SPDX-License-Identifier: Apache-2.0
// The ends of a playback that do not come with the end of the file.
#include <cabinaudio/shm/ShareMemory.h>

#include "tests/server/TemporaryDirectory.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"
#include "tests/tools/Sounds.h"
#include "tests/tools/Surroundings.h"
#include "tests/tools/ToolProcess.h"
#include "wire/Stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>

namespace cabinaudio::test {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using namespace std::chrono_literals;

std::uint32_t id(wire::StreamFunction function) {
    return static_cast<std::uint32_t>(function);
}

constexpr std::uint32_t kRingSize = 64 * 1024;
constexpr std::int32_t kPerLoop = 3072;

class APlayback : public testing::Test {
protected:
    void SetUp() override {
        writeSound(mLong, {SF_FORMAT_WAV | SF_FORMAT_PCM_16, 8000, 1, 480000});
    }

    TemporaryDirectory mDirectory;
    std::string mLong = mDirectory.file("long.wav");  // lasts a minute
};

/// A server that takes a stream and does with it what the test says.
class AScriptedPlayback : public APlayback {
protected:
    void SetUp() override {
        APlayback::SetUp();
        mServer.on(id(wire::StreamFunction::Create),
                   Answer::words(0, 0, kRingSize, kPerLoop, 0, 0, 0));
        writeSound(mShort, {.frames = 4800});
    }

    /// The ring of a stream of this name, that nobody reads.
    void makeRing(const std::string& name) {
        mRing = std::make_unique<ShareMemoryEx>(SHM_TYPE_POSIX_SHM, name.c_str(), nullptr,
                                                kRingSize, SHM_MODE_CREATOR, nullptr);
        ASSERT_TRUE(mRing->isUsable());
    }

    [[nodiscard]] bool waitForRequest(wire::StreamFunction function) {
        return mServer.waitForRequest(id(function));
    }

    ScriptedServer mServer;
    std::unique_ptr<ShareMemoryEx> mRing;
    std::string mShort = mDirectory.file("short.wav");  // fits into the ring
};

}  // namespace

// ---- no server, or one that refuses ------------------------------------------

TEST_F(APlayback, WithoutAServerEndsWithStatusThree) {
    const ToolResult result = runTool({"play", mLong});
    EXPECT_EQ(result.exitCode, 3) << result.text();
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, StartsWith("cabinaudio: " + mLong + ": no server"));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
}

TEST_F(APlayback, WithoutAServerSaysSoInJson) {
    const ToolResult result = runTool({"play", mLong, "--json", "--tag", "auxiliary"});
    EXPECT_EQ(result.exitCode, 3) << result.text();
    const json report = json::parse(result.out);
    EXPECT_EQ(report["ended"], "no_server");
    EXPECT_EQ(report["status_name"], "AUDIO_INVALID_STATE");
    EXPECT_EQ(report["duration_ms"], 60000.0);
    EXPECT_EQ(report["bytes_written"], 0);
}

TEST_F(AScriptedPlayback, ThatIsRefusedEndsWithStatusOne) {
    mServer.on(id(wire::StreamFunction::Create), Answer::words(-5, 0, 0, 0, 0, 0, 0));
    const ToolResult result = runTool({"play", mLong});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_THAT(result.err, HasSubstr("the server has not accepted the stream"));
}

TEST_F(AScriptedPlayback, ThatIsNotStartedTellsTheStatus) {
    mServer.on(id(wire::StreamFunction::Start), Answer::status(-8000));
    const ToolResult result = runTool({"play", mLong, "--json"});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "refused");
    EXPECT_EQ(json::parse(result.out)["status"], -8000);
    EXPECT_THAT(result.err,
                HasSubstr("cannot start the stream: AUDIO_INVALID_OPERATION (-8000)\n"));
}

TEST_F(AScriptedPlayback, ShowsAStatusThatOnlyTheServerKnows) {
    mServer.on(id(wire::StreamFunction::Start), Answer::status(-4711));
    const ToolResult result = runTool({"play", mLong});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_THAT(result.err, HasSubstr("cannot start the stream: status -4711\n"));
}

// ---- deadlines ---------------------------------------------------------------

TEST_F(APlayback, DoesNotWaitForAServerThatNeverAnswers) {
    SilentServer silent;
    const ToolResult result = runTool({"play", mLong, "--timeout", "1", "--json"});
    EXPECT_EQ(result.exitCode, 4) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "timed_out");
    EXPECT_EQ(json::parse(result.out)["waited_for"], "the server to create the stream");
    EXPECT_THAT(result.err,
                HasSubstr("timed out after 1 s waiting for the server to create the stream\n"));
}

class AnUnansweredRequest : public AScriptedPlayback,
                            public testing::WithParamInterface<wire::StreamFunction> {};

TEST_P(AnUnansweredRequest, EndsThePlayback) {
    mServer.on(id(GetParam()), Answer::none());
    const ToolResult result =
        runTool({"play", mLong, "--timeout", "1", "--tag", "auxiliary", "--json"});
    EXPECT_EQ(result.exitCode, 4) << result.text();
    EXPECT_THAT(json::parse(result.out)["waited_for"].get<std::string>(),
                StartsWith("the server to "));
}

INSTANTIATE_TEST_SUITE_P(Any, AnUnansweredRequest,
                         testing::Values(wire::StreamFunction::InitCheck,
                                         wire::StreamFunction::Start),
                         [](const auto& test) {
                             return test.param == wire::StreamFunction::Start ? "Start"
                                                                              : "InitCheck";
                         });

TEST_F(AScriptedPlayback, DoesNotWaitForARingThatNeverComes) {
    const ToolResult result =
        runTool({"play", mLong, "--timeout", "2", "--tag", "auxiliary", "--json"});
    EXPECT_EQ(result.exitCode, 4) << result.text();
    const json report = json::parse(result.out);
    EXPECT_EQ(report["waited_for"], "the ring");
    EXPECT_GE(report["ring_timeouts"], 2);
    EXPECT_EQ(report["space_timeouts"], 0);
    EXPECT_EQ(report["bytes_written"], 0);
    EXPECT_TRUE(waitForRequest(wire::StreamFunction::Stop));
}

class AFullRing : public AScriptedPlayback, public testing::WithParamInterface<const char*> {};

TEST_P(AFullRing, ThatNobodyReadsEndsThePlayback) {
    makeRing("full");
    const ToolResult result =
        runTool({"play", mLong, "--timeout", "1", "--name", "full", "--json", GetParam()});
    EXPECT_EQ(result.exitCode, 4) << result.text();
    const json report = json::parse(result.out);
    EXPECT_EQ(report["waited_for"], "free space in the ring");
    EXPECT_EQ(report["ring_bytes"], kRingSize);
    EXPECT_EQ(report["bytes_written"], kRingSize - 1);
    EXPECT_EQ(report["played_ms"], 0.0);
    EXPECT_TRUE(waitForRequest(wire::StreamFunction::Stop));
    EXPECT_EQ(mRing->getUsedSize(), kRingSize - 1);
}

INSTANTIATE_TEST_SUITE_P(Both, AFullRing, testing::Values("--block", "--no-block"),
                         [](const auto& test) { return wordsOf(test.param); });

TEST_F(AScriptedPlayback, CountsTheWritesThatTimeOutAndGoesOn) {
    makeRing("slow");
    ToolProcess tool({"play", mLong, "--timeout", "60", "--name", "slow", "-v", "--json"});
    // Nobody has read for as long as a write waits, and then somebody does.
    ASSERT_TRUE(tool.waitForErr("wait free space timeout"));
    const unsigned taken = mRing->getUsedSize();
    mRing->updateReadOffset(mRing->getReadOffset() + 3072);
    ASSERT_TRUE(tool.waitForErr("wait free space timeout"));
    tool.send(SIGTERM);
    const ToolResult result = tool.wait();
    const json report = json::parse(result.out);
    EXPECT_EQ(report["ended"], "interrupted") << result.text();
    EXPECT_GE(report["space_timeouts"], 1);
    EXPECT_EQ(taken, kRingSize - 1);
    // As many bytes as the ring has seen: no time-out loses or doubles any.
    EXPECT_EQ(report["bytes_written"], mRing->getUsedSize() + 3072);
}

TEST_F(AScriptedPlayback, DoesNotWaitForAnEndThatNeverComes) {
    makeRing("end");
    const ToolResult result =
        runTool({"play", mShort, "--timeout", "1", "--name", "end", "--json"});
    EXPECT_EQ(result.exitCode, 4) << result.text();
    EXPECT_EQ(json::parse(result.out)["waited_for"], "the end of playback");
    EXPECT_EQ(json::parse(result.out)["queued_ms"], 100.0);
}

TEST_F(AScriptedPlayback, KeepsItsVerdictWhenTheStopIsNotAnswered) {
    makeRing("stop");
    mServer.on(id(wire::StreamFunction::Stop), Answer::none());
    const ToolResult result =
        runTool({"play", mShort, "--timeout", "1", "--name", "stop", "--json"});
    EXPECT_EQ(result.exitCode, 4) << result.text();
    EXPECT_EQ(json::parse(result.out)["waited_for"], "the end of playback");
}

TEST_F(AScriptedPlayback, IsNotDoneUntilTheStopIsAnswered) {
    makeRing("unstopped");
    mServer.on(id(wire::StreamFunction::Stop), Answer::none());
    ToolProcess tool({"play", mShort, "--timeout", "2", "--name", "unstopped", "--json"});
    ASSERT_TRUE(eventually([&] { return mRing->getUsedSize() == 4800 * 4; }));
    mRing->updateReadOffset(mRing->getWriteOffset());
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 4) << result.text();
    EXPECT_EQ(json::parse(result.out)["waited_for"], "the server to stop the stream");
    EXPECT_EQ(json::parse(result.out)["played_ms"], 100.0);
}

TEST_F(APlayback, EndsWhenTheServerStandsStill) {
    RealServer server;
    ToolProcess tool({"play", mLong, "--timeout", "2", "-v"});
    ASSERT_TRUE(tool.waitForErr("start Success"));
    server.kill(SIGSTOP);
    const ToolResult result = tool.wait();
    server.kill(SIGCONT);
    EXPECT_EQ(result.exitCode, 4) << result.text();
    EXPECT_THAT(result.err, HasSubstr("timed out after 2 s waiting for"));
}

// ---- the stream is lost ------------------------------------------------------

class ALostServer : public APlayback, public testing::WithParamInterface<const char*> {};

TEST_P(ALostServer, EndsThePlayback) {
    RealServer server;
    ToolProcess tool({"play", mLong, "--json", "-v", GetParam()});
    ASSERT_TRUE(tool.waitForErr("start Success"));
    server.kill(SIGKILL);
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 3) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "lost");
    EXPECT_THAT(result.err, HasSubstr("the server is gone"));
}

INSTANTIATE_TEST_SUITE_P(Any, ALostServer,
                         testing::Values("--block", "--no-block", "--tag=auxiliary", "--tag=main"),
                         [](const auto& test) { return wordsOf(test.param); });

TEST_F(APlayback, EndsWhenTheServerRemovesTheStream) {
    RealServer server;
    ToolProcess tool({"play", mLong, "--json", "-v", "--name", "victim"});
    ASSERT_TRUE(tool.waitForErr("start Success"));
    EXPECT_EQ(server.command("stream remove victim"), "ok");
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "removed");
    EXPECT_EQ(json::parse(result.out)["status_name"], "AUDIO_INVALID_STATE");
    EXPECT_THAT(result.err, HasSubstr("the server has removed the stream"));
}

TEST_F(AScriptedPlayback, NoticesALossWhileItWaitsForTheEnd) {
    makeRing("drain");
    ToolProcess tool({"play", mShort, "--timeout", "60", "--name", "drain", "--json", "-v"});
    ASSERT_TRUE(tool.waitForErr("first write"));
    // The first ones have only looked at whose server this is.
    mServer.notify(static_cast<std::uint32_t>(wire::TrackEvent::Removed), 0, mServer.clients() - 1);
    const ToolResult result = tool.wait(50s);
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "removed");
}

// ---- the user ends it --------------------------------------------------------

class ASignal : public APlayback, public testing::WithParamInterface<int> {};

TEST_P(ASignal, EndsThePlaybackInGoodOrder) {
    RealServer server;
    ToolProcess tool({"play", mLong, "--json", "-v"});
    ASSERT_TRUE(tool.waitForErr("start Success"));
    tool.send(GetParam());
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "interrupted");
    EXPECT_THAT(result.err, HasSubstr("stop Success"));
    EXPECT_THAT(result.err, HasSubstr("destroy client"));
    EXPECT_THAT(result.err, HasSubstr(GetParam() == SIGINT    ? "interrupted by SIGINT"
                                      : GetParam() == SIGTERM ? "interrupted by SIGTERM"
                                                              : "interrupted by SIGHUP"));
    EXPECT_EQ(server.command("state").find("long"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Any, ASignal, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST_F(AScriptedPlayback, IsInterruptedDuringARequestToo) {
    mServer.on(id(wire::StreamFunction::Start), Answer::none());
    ToolProcess tool({"play", mLong, "--timeout", "600"});
    ASSERT_TRUE(waitForRequest(wire::StreamFunction::Start));
    tool.send(SIGINT);
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_THAT(result.err, HasSubstr("interrupted by SIGINT while waiting for the server to "
                                      "start the stream\n"));
}

TEST_F(AScriptedPlayback, DiesOfTheSecondSignalAtOnce) {
    mServer.on(id(wire::StreamFunction::Start), Answer::none());
    ToolProcess tool({"play", mLong, "--timeout", "600", "-v"});
    ASSERT_TRUE(waitForRequest(wire::StreamFunction::Start));
    // Two that wait at the same time would count as one; the playback would end by itself after a
    // second.
    for (int i = 0; i < 20; ++i) {
        tool.send(SIGINT);
        EXPECT_FALSE(tool.waitForErr("what is never said", 20ms));
    }
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.signal, SIGINT) << result.text();
}

}  // namespace cabinaudio::test
