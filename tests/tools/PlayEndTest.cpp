// SPDX-License-Identifier: Apache-2.0
// The ends of a playback that do not come with the end of the file.
#include <cabinaudio/foundation/AudioConnectType.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "tests/support/ProcessState.h"
#include "tests/tools/ToolTest.h"
#include "wire/SettingRecords.h"
#include "wire/Settings.h"
#include "wire/Stream.h"

#include <csignal>

namespace cabinaudio::test {

namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t RING_SIZE = 64 * 1024;
constexpr std::int32_t PER_LOOP = 3072;

class Playback : public ToolTest {
protected:
    void SetUp() override {
        writeSound(mLong, {SF_FORMAT_WAV | SF_FORMAT_PCM_16, 8000, 1, 480000});
    }

    void waitForStream(const std::string& name) const {
        ASSERT_TRUE(eventually([&] {
            const json streams = json::parse(mServer->command("state"))["streams"];
            return std::any_of(streams.begin(), streams.end(),
                               [&](const json& stream) { return stream["name"] == name; });
        }));
    }

    std::string mLong = mDirectory.file("long.wav");  // lasts a minute
};

/// A server that takes a stream and does with it what the test says.
class ScriptedPlayback : public Playback {
protected:
    void SetUp() override {
        Playback::SetUp();
        mScripted.on(id(wire::StreamFunction::Create),
                     Answer::words(0, 0, RING_SIZE, PER_LOOP, 0, 0, 0));
        writeSound(mShort, {.frames = 4800});
    }

    /// The ring of a stream of this name, that nobody reads.
    void makeRing(const std::string& name) {
        mRing = std::make_unique<ShareMemoryEx>(SHM_TYPE_POSIX_SHM, name.c_str(), nullptr,
                                                RING_SIZE, SHM_MODE_CREATOR, nullptr);
        ASSERT_TRUE(mRing->isUsable());
    }

    [[nodiscard]] bool waitForRequest(wire::StreamFunction function) {
        return mScripted.waitForRequest(id(function));
    }

    ScriptedServer mScripted;
    std::unique_ptr<ShareMemoryEx> mRing;
    std::string mShort = mDirectory.file("short.wav");  // fits into the ring
};

}  // namespace

// ---- No server, or one that refuses -------------------------------------------------------------

TEST_F(Playback, WithoutAServerEndsWithStatusThree) {
    const Outcome result = runExpecting(3, {"play", mLong});
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, StartsWith("cabinaudio: " + mLong + ": no server"));
    expectOneLine(result.err);
}

TEST_F(Playback, WithoutAServerLogsTheSocketAndTheSystemsError) {
    const std::string log = file("log");
    runExpecting(3, {"play", mLong, "--instance", "nobody-serves", "--log", log});
    const Words lines = linesOf(contentsOf(log));
    const auto isOurs = [](const std::string& line) {
        return line.find(
                   " E cabinaudio no server listens on the socket "
                   "@/tmp/as_internal_file.nobody-serves: Connection refused") != std::string::npos;
    };
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), isOurs), 1) << contentsOf(log);
    // The library's own lines stay.
    EXPECT_THAT(contentsOf(log), HasSubstr(" E AS [AudioConnection][connect]["));
}

TEST_F(Playback, OfANameInUseNamesTheStreamsProcess) {
    serve();
    ToolProcess first({"play", mLong, "--name", "nav", "--json"});
    waitForStream("nav");
    const Outcome second = runExpecting(1, {"play", mLong, "--name", "nav"});
    EXPECT_THAT(second.err, StartsWith("cabinaudio: " + mLong +
                                       ": the server has not accepted the stream: a stream of this "
                                       "name plays already: pid " +
                                       std::to_string(first.pid())));
    EXPECT_THAT(second.err, testing::EndsWith("; choose another --name\n"));
    expectOneLine(second.err);
    const Outcome capture = runExpecting(1, {"record", file("a.wav"), "--name", "nav"});
    EXPECT_THAT(capture.err, HasSubstr("a stream of this name plays already: pid "));
}

TEST_F(ScriptedPlayback, OfANameInUseIsToldByAnotherServerToo) {
    mScripted.on(id(wire::StreamFunction::Create), Answer::words(-8000, 0, 0, 0, 0, 0, 0));
    wire::TracksReply tracks = {};
    tracks.list.count = 1;
    std::memcpy(tracks.list.slots[0].name.text, "nav", 3);
    mScripted.on(AUDIO_CONNECT_SOURCE_SETTING, id(wire::SourceFunction::GetActiveTracks),
                 Answer::bytes(Bytes(reinterpret_cast<const std::uint8_t*>(&tracks),
                                     reinterpret_cast<const std::uint8_t*>(&tracks + 1))));
    const Outcome result = runExpecting(1, {"play", mLong, "--name", "nav"});
    EXPECT_THAT(result.err, HasSubstr("a stream of this name plays already; choose another"));
}

TEST_F(Playback, WithoutAServerReportsNoServerInJson) {
    const json report = jsonOf(runExpecting(3, {"play", mLong, "--json", "--tag", "auxiliary"}));
    EXPECT_EQ(report["ended"], "no_server");
    EXPECT_EQ(report["status_name"], "AUDIO_INVALID_STATE");
    EXPECT_EQ(report["duration_ms"], 60000.0);
    EXPECT_EQ(report["bytes_written"], 0);
}

TEST_F(ScriptedPlayback, RefusedStreamEndsWithStatusOne) {
    mScripted.on(id(wire::StreamFunction::Create), Answer::words(-5, 0, 0, 0, 0, 0, 0));
    const Outcome result = runExpecting(1, {"play", mLong});
    EXPECT_THAT(result.err, HasSubstr("the server has not accepted the stream"));
}

TEST_F(ScriptedPlayback, RefusedStartReportsTheStatus) {
    for (const auto& [status, shown] :
         {std::pair(-8000, "AUDIO_INVALID_OPERATION (-8000)"), {-4711, "status -4711"}}) {
        mScripted.on(id(wire::StreamFunction::Start), Answer::status(status));
        const Outcome result = runExpecting(1, {"play", mLong, "--json"});
        EXPECT_EQ(json::parse(result.out)["ended"], "refused");
        EXPECT_EQ(json::parse(result.out)["status"], status);
        EXPECT_THAT(result.err, HasSubstr(std::string("cannot start the stream: ") + shown + "\n"));
    }
}

// ---- Deadlines ----------------------------------------------------------------------------------

TEST_F(Playback, DoesNotWaitForAServerThatNeverAnswers) {
    SilentServer silent;
    const Outcome result = runExpecting(4, {"play", mLong, "--timeout", "1", "--json"});
    EXPECT_EQ(json::parse(result.out)["ended"], "timed_out");
    EXPECT_EQ(json::parse(result.out)["waited_for"], "the server to create the stream");
    EXPECT_THAT(result.err,
                HasSubstr("timed out after 1 s waiting for the server to create the stream\n"));
}

class UnansweredRequest : public ScriptedPlayback,
                          public testing::WithParamInterface<wire::StreamFunction> {};

TEST_P(UnansweredRequest, EndsThePlayback) {
    mScripted.on(id(GetParam()), Answer::none());
    const Outcome result =
        runExpecting(4, {"play", mLong, "--timeout", "1", "--tag", "auxiliary", "--json"});
    EXPECT_THAT(json::parse(result.out)["waited_for"].get<std::string>(),
                StartsWith("the server to "));
}

INSTANTIATE_TEST_SUITE_P(Any, UnansweredRequest,
                         testing::Values(wire::StreamFunction::InitCheck,
                                         wire::StreamFunction::Start),
                         [](const auto& test) {
                             return test.param == wire::StreamFunction::Start ? "Start"
                                                                              : "InitCheck";
                         });

TEST_F(ScriptedPlayback, DoesNotWaitForARingThatNeverComes) {
    const json report =
        jsonOf(runExpecting(4, {"play", mLong, "--timeout", "2", "--tag", "auxiliary", "--json"}));
    EXPECT_EQ(report["waited_for"], "the ring");
    EXPECT_GE(report["ring_timeouts"], 2);
    EXPECT_EQ(report["space_timeouts"], 0);
    EXPECT_EQ(report["bytes_written"], 0);
    EXPECT_TRUE(waitForRequest(wire::StreamFunction::Stop));
}

class FullRing : public ScriptedPlayback, public testing::WithParamInterface<const char*> {};

TEST_P(FullRing, EndsThePlaybackWhenNobodyReads) {
    makeRing("full");
    const json report = jsonOf(
        runExpecting(4, {"play", mLong, "--timeout", "1", "--name", "full", "--json", GetParam()}));
    EXPECT_EQ(report["waited_for"], "free space in the ring");
    EXPECT_EQ(report["ring_bytes"], RING_SIZE);
    EXPECT_EQ(report["bytes_written"], RING_SIZE - 1);
    EXPECT_EQ(report["played_ms"], 0.0);
    EXPECT_TRUE(waitForRequest(wire::StreamFunction::Stop));
    EXPECT_EQ(mRing->getUsedSize(), RING_SIZE - 1);
}

INSTANTIATE_TEST_SUITE_P(Both, FullRing, testing::Values("--block", "--no-block"),
                         [](const auto& test) { return wordsOf(test.param); });

TEST_F(ScriptedPlayback, CountsTimedOutWritesAndContinues) {
    makeRing("slow");
    ToolProcess tool({"play", mLong, "--timeout", "60", "--name", "slow", "-v", "--json"});
    // The ring is read only after the first write has timed out.
    ASSERT_TRUE(tool.waitForErr("wait free space timeout"));
    const unsigned taken = mRing->getUsedSize();
    mRing->updateReadOffset(mRing->getReadOffset() + 3072);
    ASSERT_TRUE(tool.waitForErr("wait free space timeout"));
    tool.send(SIGTERM);
    const Outcome result = tool.finish();
    const json report = json::parse(result.out);
    EXPECT_EQ(report["ended"], "interrupted") << result.text();
    EXPECT_GE(report["space_timeouts"], 1);
    EXPECT_EQ(taken, RING_SIZE - 1);
    // As many bytes as the ring has seen: no time-out loses or doubles any.
    EXPECT_EQ(report["bytes_written"], mRing->getUsedSize() + 3072);
}

TEST_F(ScriptedPlayback, DoesNotWaitForAnEndThatNeverComes) {
    makeRing("end");
    const Outcome result =
        runExpecting(4, {"play", mShort, "--timeout", "1", "--name", "end", "--json"});
    EXPECT_EQ(json::parse(result.out)["waited_for"], "the end of playback");
    EXPECT_EQ(json::parse(result.out)["queued_ms"], 100.0);
}

TEST_F(ScriptedPlayback, KeepsItsResultWhenTheStopIsNotAnswered) {
    makeRing("stop");
    mScripted.on(id(wire::StreamFunction::Stop), Answer::none());
    const Outcome result =
        runExpecting(4, {"play", mShort, "--timeout", "1", "--name", "stop", "--json"});
    EXPECT_EQ(json::parse(result.out)["waited_for"], "the end of playback");
}

TEST_F(ScriptedPlayback, TimesOutWhenTheStopIsNotAnswered) {
    makeRing("unstopped");
    mScripted.on(id(wire::StreamFunction::Stop), Answer::none());
    ToolProcess tool({"play", mShort, "--timeout", "2", "--name", "unstopped", "--json"});
    ASSERT_TRUE(eventually([&] { return mRing->getUsedSize() == 4800 * 4; }));
    mRing->updateReadOffset(mRing->getWriteOffset());
    const Outcome result = tool.finishExpecting(4);
    EXPECT_EQ(json::parse(result.out)["waited_for"], "the server to stop the stream");
    EXPECT_EQ(json::parse(result.out)["played_ms"], 100.0);
}

TEST_F(Playback, EndsWhenTheServerStandsStill) {
    RealServer server;
    ToolProcess tool({"play", mLong, "--timeout", "2", "-v"});
    ASSERT_TRUE(tool.waitForErr("start Success"));
    server.kill(SIGSTOP);
    const Outcome result = tool.finishExpecting(4);
    server.kill(SIGCONT);
    EXPECT_THAT(result.err, HasSubstr("timed out after 2 s waiting for"));
}

// ---- The stream is lost -------------------------------------------------------------------------

class LostServer : public Playback, public testing::WithParamInterface<const char*> {};

TEST_P(LostServer, EndsThePlayback) {
    RealServer server;
    ToolProcess tool({"play", mLong, "--json", "-v", GetParam()});
    ASSERT_TRUE(tool.waitForErr("start Success"));
    server.kill(SIGKILL);
    const Outcome result = tool.finishExpecting(3);
    EXPECT_EQ(json::parse(result.out)["ended"], "lost");
    EXPECT_THAT(result.err, HasSubstr("the server is gone"));
}

INSTANTIATE_TEST_SUITE_P(Any, LostServer,
                         testing::Values("--block", "--no-block", "--tag=auxiliary", "--tag=main"),
                         [](const auto& test) { return wordsOf(test.param); });

TEST_F(Playback, EndsWhenTheServerRemovesTheStream) {
    RealServer server;
    ToolProcess tool({"play", mLong, "--json", "-v", "--name", "victim"});
    ASSERT_TRUE(tool.waitForErr("start Success"));
    EXPECT_EQ(server.command("stream remove victim"), "ok");
    const Outcome result = tool.finishExpecting(1);
    EXPECT_EQ(json::parse(result.out)["ended"], "removed");
    EXPECT_EQ(json::parse(result.out)["status_name"], "AUDIO_INVALID_STATE");
    EXPECT_THAT(result.err, HasSubstr("the server has removed the stream"));
}

TEST_F(ScriptedPlayback, EndsWhenTheStreamIsRemovedWhileDraining) {
    makeRing("drain");
    ToolProcess tool({"play", mShort, "--timeout", "60", "--name", "drain", "--json", "-v"});
    ASSERT_TRUE(tool.waitForErr("first write"));
    // The first connections only ask for the server's user.
    mScripted.notify(id(wire::TrackEvent::Removed), 0, mScripted.clients() - 1);
    const Outcome result = tool.finish(50s);
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(json::parse(result.out)["ended"], "removed");
}

// ---- The user ends it ---------------------------------------------------------------------------

class PlaybackSignal : public Playback, public testing::WithParamInterface<int> {};

TEST_P(PlaybackSignal, EndsThePlaybackInGoodOrder) {
    RealServer server;
    ToolProcess tool({"play", mLong, "--json", "-v"});
    ASSERT_TRUE(tool.waitForErr("start Success"));
    tool.send(GetParam());
    const Outcome result = tool.finishExpecting(1);
    EXPECT_EQ(json::parse(result.out)["ended"], "interrupted");
    EXPECT_THAT(result.err, HasSubstr("stop Success"));
    EXPECT_THAT(result.err, HasSubstr("destroy client"));
    EXPECT_THAT(result.err, HasSubstr(GetParam() == SIGINT    ? "interrupted by SIGINT"
                                      : GetParam() == SIGTERM ? "interrupted by SIGTERM"
                                                              : "interrupted by SIGHUP"));
    EXPECT_EQ(server.command("state").find("\"name\":\"long\""), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Any, PlaybackSignal, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         nameOfSignal);

TEST_F(ScriptedPlayback, IsInterruptedDuringARequest) {
    mScripted.on(id(wire::StreamFunction::Start), Answer::none());
    ToolProcess tool({"play", mLong, "--timeout", "600"});
    ASSERT_TRUE(waitForRequest(wire::StreamFunction::Start));
    tool.send(SIGINT);
    const Outcome result = tool.finishExpecting(1);
    EXPECT_THAT(result.err, HasSubstr("interrupted by SIGINT while waiting for the server to "
                                      "start the stream\n"));
}

TEST_F(ScriptedPlayback, DiesOfTheSecondSignalAtOnce) {
    mScripted.on(id(wire::StreamFunction::Start), Answer::none());
    ToolProcess tool({"play", mLong, "--timeout", "600", "-v"});
    ASSERT_TRUE(waitForRequest(wire::StreamFunction::Start));
    // Two that wait at the same time would count as one; the playback would end by itself after a
    // second.
    for (int i = 0; i < 20; ++i) {
        tool.send(SIGINT);
        EXPECT_FALSE(tool.waitForErr("what is never said", 20ms));
    }
    const Outcome result = tool.finish();
    EXPECT_EQ(result.signal, SIGINT) << result.text();
}

}  // namespace cabinaudio::test
