// SPDX-License-Identifier: Apache-2.0
// Commands to a running server.
#include "tests/support/LocalSocket.h"
#include "tests/support/ProcessState.h"
#include "tests/tools/ToolTest.h"

#include <sys/socket.h>
#include <sys/wait.h>

#include <csignal>
#include <thread>

namespace cabinaudio::test {

namespace {

/// A server with one stream of any kind.
class ServerCommands : public ToolTest {
protected:
    void SetUp() override { serve({"--uplink-delay", "never"}); }

    void play() {
        writeSound(file("sound.wav"), {.frames = 480000});
        mStream = std::make_unique<ToolProcess>(Words{"play", file("sound.wav"), "--tag", "main",
                                                      "--name", "a stream", "--json", "-v"});
        ASSERT_TRUE(mStream->waitForErr("init shareMemory OK"));
    }

    void recordUplink() {
        mStream = std::make_unique<ToolProcess>(Words{"record", file("a.wav"), "--tag", "uplink",
                                                      "--name", "a stream", "--json", "-v"});
        ASSERT_TRUE(mStream->waitForErr("start done"));
    }

    static void expectDone(const Words& command) {
        const Outcome result = runExpecting(0, with({"server"}, command));
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_THAT(result.err, IsEmpty());
    }

    std::unique_ptr<ToolProcess> mStream;
};

class RefusedCommand : public testing::TestWithParam<Refusal> {};

}  // namespace

TEST_F(ServerCommands, StateShowsStreams) {
    play();
    const Outcome result = runExpecting(0, {"server", "state"});
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_THAT(result.out, StartsWith("output  "));
    EXPECT_THAT(result.out, HasSubstr("\nstream    kind  tag   state   format"));
    EXPECT_THAT(result.out,
                testing::ContainsRegex(
                    "\na stream  sink  main  active  48000 Hz x2 16 bit  [0-9]+ +active"));
}

TEST_F(ServerCommands, StateShowsThatThereAreNoStreams) {
    EXPECT_THAT(runTool({"server", "state"}).out, HasSubstr("\nno streams\n"));
}

TEST_F(ServerCommands, StateIsCompleteInJson) {
    play();
    const json state = jsonOf(runExpecting(0, {"server", "state", "--json"}));
    EXPECT_EQ(state["output"]["rate_hz"], 48000);
    ASSERT_EQ(state["streams"].size(), 1u);
    EXPECT_EQ(state["streams"][0]["name"], "a stream");
    EXPECT_EQ(state["streams"][0]["source"], "active");
}

TEST_F(ServerCommands, SourceIsWithdrawnAndActivated) {
    play();
    expectDone({"source", "withdraw", "a stream"});
    ASSERT_TRUE(mStream->waitForErr("Source is deactived done"));
    EXPECT_THAT(mServer->command("state"), HasSubstr("\"withdrawn\""));
    expectDone({"source", "activate", "a stream"});
    EXPECT_TRUE(mStream->waitForErr("Source is actived"));
}

TEST_F(ServerCommands, StreamIsRemoved) {
    play();
    expectDone({"stream", "remove", "a stream"});
    EXPECT_EQ(json::parse(mStream->finish().out)["ended"], "removed");
}

TEST_F(ServerCommands, UplinkRingIsSwitchedOnAndOff) {
    recordUplink();
    expectDone({"uplink", "ring", "on"});
    ASSERT_TRUE(mStream->waitForErr("record initShareMem OK"));
    expectDone({"uplink", "ring", "off", "a stream"});
    ASSERT_TRUE(mStream->waitForErr("record unInitShareMem"));
    expectDone({"uplink", "ring", "on", "a stream"});
    EXPECT_TRUE(mStream->waitForErr("unInitShareMemTime--->SourceReadyTime"));
}

TEST_F(ServerCommands, SuccessIsReportedInJson) {
    recordUplink();
    const Outcome result = runExpecting(0, {"server", "uplink", "ring", "on", "--json"});
    EXPECT_EQ(json::parse(result.out)["command"], "uplink ring on");
}

TEST_F(ServerCommands, StallMakesLaterCommandsTimeOut) {
    expectDone({"stall", "1500"});
    const Outcome result = runExpecting(4, {"server", "state", "--timeout", "0.2"});
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_EQ(result.err, "cabinaudio: timed out after 0.2 s waiting for the server's answer\n");
    runExpecting(0, {"server", "state", "--timeout", "60"});
}

/// A server whose time passes on command.
class TimeCommands : public ServerCommands {
protected:
    void SetUp() override { serve({"--time", "stepped"}); }
};

TEST_F(TimeCommands, LetTimePassAndShowIt) {
    expectDone({"time", "run", "500"});
    EXPECT_EQ(runExpecting(0, {"server", "time"}).out,
              "stepped, standing at 500 ms (frame 24000), 0 ms left\n");
    const json time = jsonOf(runExpecting(0, {"server", "time", "--json"}));
    EXPECT_EQ(time["frame"], 24000);
    expectDone({"time", "stop"});
    expectDone({"time", "settle"});
    EXPECT_EQ(runExpecting(1, {"server", "time", "go"}).err,
              "cabinaudio: with --time stepped, time passes with time run only\n");
}

TEST_F(TimeCommands, AreSentWithTheirArguments) {
    expectDone({"time", "hold", "0"});
    expectDone({"time", "await", "a stream", "700"});
    expectDone({"at", "600", "source", "withdraw", "a", "stream"});
    expectDone({"fault", "wrong-magic", "start", "a stream"});
    expectDone({"fault", "short-reply", "any"});
    EXPECT_EQ(runExpecting(1, {"server", "at", "600", "dance"}).err,
              "cabinaudio: no such command: dance\n");
    EXPECT_EQ(runExpecting(1, {"server", "fault", "short-reply", "dance"}).err,
              "cabinaudio: no request \"dance\"\n");
}

TEST_F(TimeCommands, ShowWhoIsWaitedFor) {
    expectDone({"time", "await", "a stream", "100"});
    ToolProcess run(Words{"server", "time", "run", "200"});
    const auto isWaiting = [] {
        return runTool({"server", "time"}).out.find("\nwaits for \"a stream\" (start) since ") !=
               std::string::npos;
    };
    EXPECT_TRUE(eventually(isWaiting, std::chrono::minutes(1)));
    expectDone({"time", "stop"});
    EXPECT_EQ(run.finish().err, "cabinaudio: stopped at 100 ms\n");
}

TEST_F(ServerCommands, CrashKillsTheServer) {
    expectDone({"crash"});
    const int status = mServer->wait();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
}

/// Answers "ok" to a crash command, but keeps some of its sockets.
class ServerThatDoesNotDie {
public:
    explicit ServerThatDoesNotDie(bool hangsUp) {
        mThread = std::thread([this, hangsUp] {
            // The launcher's connection comes and goes without a command.
            char line[100];
            do {
                mConnection = server::UniqueFd(accept(mListener.get(), nullptr, nullptr));
                ASSERT_TRUE(mConnection);
            } while (recv(mConnection.get(), line, sizeof line, 0) <= 0);
            EXPECT_EQ(::send(mConnection.get(), "ok\n", 3, MSG_NOSIGNAL), 3);
            if (hangsUp) shutdown(mConnection.get(), SHUT_RDWR);
        });
    }
    ~ServerThatDoesNotDie() { mThread.join(); }
    ServerThatDoesNotDie(const ServerThatDoesNotDie&) = delete;
    ServerThatDoesNotDie& operator=(const ServerThatDoesNotDie&) = delete;

private:
    const server::UniqueFd mListener = listenAt(CONTROL_SOCKET, 1);
    server::UniqueFd mConnection;
    std::thread mThread;
};

void expectWaitForItsEnd(bool hangsUp) {
    const ServerThatDoesNotDie server(hangsUp);
    const Outcome result = runExpecting(4, {"server", "crash", "--timeout", "0.2"});
    EXPECT_EQ(result.err, "cabinaudio: timed out after 0.2 s waiting for the server's end\n");
}

TEST(CrashCommand, TimesOutWhileTheServerHoldsTheConnection) {
    expectWaitForItsEnd(false);
}

/// A process that dies may close its listening socket last.
TEST(CrashCommand, TimesOutWhileClientsReachTheServer) {
    const ScriptedServer reachable;
    expectWaitForItsEnd(true);
}

TEST_P(RefusedCommand, EndsWithStatusOneAndTheServersMessage) {
    const RealServer server;
    const Outcome result = runExpecting(1, with({"server"}, GetParam().command.words));
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_EQ(result.err, "cabinaudio: " + GetParam().says + "\n");
}

INSTANTIATE_TEST_SUITE_P(Any, RefusedCommand,
                         testing::Values(Refusal{"source activate nobody", "no sink \"nobody\""},
                                         Refusal{"source withdraw nobody", "no sink \"nobody\""},
                                         Refusal{"stream remove nobody", "no stream \"nobody\""},
                                         Refusal{"uplink ring on", "there is no uplink"},
                                         Refusal{"uplink ring off nobody",
                                                 "no uplink \"nobody\""}));

class ServerCommand : public testing::TestWithParam<Words> {};

TEST_P(ServerCommand, WithoutAServerEndsWithStatusThree) {
    const Outcome result = runExpecting(3, with({"server"}, GetParam()));
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, StartsWith("cabinaudio: no server"));
}

TEST_P(ServerCommand, PrintsHelpWithoutAServer) {
    const Outcome result = runExpecting(0, with(with({"server"}, GetParam()), {"--help"}));
    EXPECT_THAT(result.out, HasSubstr("Usage: cabinaudio server " + GetParam().front()));
}

INSTANTIATE_TEST_SUITE_P(Any, ServerCommand,
                         testing::Values(Words{"state"}, Words{"crash"}, Words{"stall", "10"},
                                         Words{"source", "activate", "x"},
                                         Words{"source", "withdraw", "x"},
                                         Words{"stream", "remove", "x"},
                                         Words{"uplink", "ring", "on"}));

TEST(AnotherServer, IsReportedToTakeNoCommands) {
    SilentServer server;
    const Outcome result = runExpecting(1, {"server", "state"});
    EXPECT_EQ(result.err,
              "cabinaudio: the server takes no commands; it is not cabinaudio-server\n");
}

}  // namespace cabinaudio::test
