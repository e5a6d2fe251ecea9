// SPDX-License-Identifier: Apache-2.0
// Commands to a running server.
#include "tests/server/TemporaryDirectory.h"
#include "tests/support/RealServer.h"
#include "tests/support/ScriptedServer.h"
#include "tests/tools/Sounds.h"
#include "tests/tools/Surroundings.h"
#include "tests/tools/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstring>
#include <thread>

namespace cabinaudio::test {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

using Words = std::vector<std::string>;

/// A server with one stream of any kind.
class AServer : public testing::Test {
protected:
    void play() {
        const std::string file = mDirectory.file("sound.wav");
        writeSound(file, {.frames = 480000});
        mStream = std::make_unique<ToolProcess>(
            Words{"play", file, "--tag", "main", "--name", "a stream", "--json", "-v"});
        ASSERT_TRUE(mStream->waitForErr("init shareMemory OK"));
    }

    void recordUplink() {
        mStream =
            std::make_unique<ToolProcess>(Words{"record", mDirectory.file("a.wav"), "--tag",
                                                "uplink", "--name", "a stream", "--json", "-v"});
        ASSERT_TRUE(mStream->waitForErr("start done"));
    }

    static void expectDone(const Words& command) {
        Words words = {"server"};
        words.insert(words.end(), command.begin(), command.end());
        const ToolResult result = runTool(words);
        EXPECT_EQ(result.exitCode, 0) << result.text();
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_THAT(result.err, IsEmpty());
    }

    TemporaryDirectory mDirectory;
    RealServer mServer{{"--output", "null", "--uplink-delay", "never"}};
    std::unique_ptr<ToolProcess> mStream;
};

struct Refused {
    Words command;
    std::string says;
};

void PrintTo(const Refused& refused, std::ostream* out) {
    for (const std::string& word : refused.command)
        *out << word << ' ';
}

class ARefusedCommand : public testing::TestWithParam<Refused> {};

}  // namespace

TEST_F(AServer, ShowsItsStreams) {
    play();
    const ToolResult result = runTool({"server", "state"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_THAT(result.out, testing::StartsWith("output  "));
    EXPECT_THAT(result.out, HasSubstr("\nstream    kind  tag   state   format"));
    EXPECT_THAT(result.out,
                testing::ContainsRegex(
                    "\na stream  sink  main  active  48000 Hz x2 16 bit  [0-9]+ +active"));
}

TEST_F(AServer, ShowsThatItHasNoStreams) {
    EXPECT_THAT(runTool({"server", "state"}).out, HasSubstr("\nno streams\n"));
}

TEST_F(AServer, ShowsAllOfItsStateInJson) {
    play();
    const ToolResult result = runTool({"server", "state", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    const json state = json::parse(result.out);
    EXPECT_EQ(state["output"]["rate_hz"], 48000);
    ASSERT_EQ(state["streams"].size(), 1u);
    EXPECT_EQ(state["streams"][0]["name"], "a stream");
    EXPECT_EQ(state["streams"][0]["source"], "active");
}

TEST_F(AServer, WithdrawsAndActivatesASource) {
    play();
    expectDone({"source", "withdraw", "a stream"});
    ASSERT_TRUE(mStream->waitForErr("Source is deactived done"));
    EXPECT_THAT(mServer.command("state"), HasSubstr("\"withdrawn\""));
    expectDone({"source", "activate", "a stream"});
    EXPECT_TRUE(mStream->waitForErr("Source is actived"));
}

TEST_F(AServer, RemovesAStream) {
    play();
    expectDone({"stream", "remove", "a stream"});
    EXPECT_EQ(json::parse(mStream->wait().out)["ended"], "removed");
}

TEST_F(AServer, SwitchesTheRingOfAnUplink) {
    recordUplink();
    expectDone({"uplink", "ring", "on"});
    ASSERT_TRUE(mStream->waitForErr("record initShareMem OK"));
    expectDone({"uplink", "ring", "off", "a stream"});
    ASSERT_TRUE(mStream->waitForErr("record unInitShareMem"));
    expectDone({"uplink", "ring", "on", "a stream"});
    EXPECT_TRUE(mStream->waitForErr("unInitShareMemTime--->SourceReadyTime"));
}

TEST_F(AServer, SaysInJsonThatItIsDone) {
    recordUplink();
    const ToolResult result = runTool({"server", "uplink", "ring", "on", "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_EQ(json::parse(result.out)["command"], "uplink ring on");
}

TEST_F(AServer, StallsForAWhile) {
    expectDone({"stall", "1500"});
    const ToolResult result = runTool({"server", "state", "--timeout", "0.2"});
    EXPECT_EQ(result.exitCode, 4) << result.text();
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_EQ(result.err, "cabinaudio: timed out after 0.2 s waiting for the server's answer\n");
    EXPECT_EQ(runTool({"server", "state", "--timeout", "60"}).exitCode, 0);
}

TEST_F(AServer, CrashesOnCommand) {
    expectDone({"crash"});
    const int status = mServer.wait();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
}

/// Says that it is done, and lives on: some of its sockets do.
class AServerThatDoesNotDie {
public:
    explicit AServerThatDoesNotDie(bool hangsUp)
        : mListener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        struct sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path + 1, NAME, sizeof NAME - 1);
        constexpr auto length =
            static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) + sizeof NAME);
        EXPECT_EQ(bind(mListener, reinterpret_cast<struct sockaddr*>(&address), length), 0);
        EXPECT_EQ(listen(mListener, 1), 0);
        mThread = std::thread([this, hangsUp] {
            // The launcher's connection comes and goes without a command.
            char line[100];
            do {
                if (mConnection >= 0) close(mConnection);
                mConnection = accept(mListener, nullptr, nullptr);
                ASSERT_GE(mConnection, 0);
            } while (recv(mConnection, line, sizeof line, 0) <= 0);
            EXPECT_EQ(::send(mConnection, "ok\n", 3, MSG_NOSIGNAL), 3);
            if (hangsUp) shutdown(mConnection, SHUT_RDWR);
        });
    }
    ~AServerThatDoesNotDie() {
        mThread.join();
        close(mConnection);
        close(mListener);
    }
    AServerThatDoesNotDie(const AServerThatDoesNotDie&) = delete;
    AServerThatDoesNotDie& operator=(const AServerThatDoesNotDie&) = delete;

private:
    static constexpr char NAME[] = "/tmp/cabinaudio_control";
    const int mListener;
    int mConnection = -1;
    std::thread mThread;
};

void expectWaitForItsEnd(bool hangsUp) {
    const AServerThatDoesNotDie server(hangsUp);
    const ToolResult result = runTool({"server", "crash", "--timeout", "0.2"});
    EXPECT_EQ(result.exitCode, 4) << result.text();
    EXPECT_EQ(result.err, "cabinaudio: timed out after 0.2 s waiting for the server's end\n");
}

TEST(ACrash, IsNotOverWhileTheServerHoldsTheLine) {
    expectWaitForItsEnd(false);
}

/// A process that dies may close its listening socket last.
TEST(ACrash, IsNotOverWhileClientsReachTheServer) {
    const ScriptedServer reachable;
    expectWaitForItsEnd(true);
}

TEST_P(ARefusedCommand, EndsWithStatusOneAndTheServersWords) {
    const RealServer server;
    Words words = {"server"};
    words.insert(words.end(), GetParam().command.begin(), GetParam().command.end());
    const ToolResult result = runTool(words);
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_EQ(result.err, "cabinaudio: " + GetParam().says + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    Any, ARefusedCommand,
    testing::Values(Refused{{"source", "activate", "nobody"}, "no sink \"nobody\""},
                    Refused{{"source", "withdraw", "nobody"}, "no sink \"nobody\""},
                    Refused{{"stream", "remove", "nobody"}, "no stream \"nobody\""},
                    Refused{{"uplink", "ring", "on"}, "there is no uplink"},
                    Refused{{"uplink", "ring", "off", "nobody"}, "no uplink \"nobody\""}));

class AServerCommand : public testing::TestWithParam<Words> {};

TEST_P(AServerCommand, WithoutAServerEndsWithStatusThree) {
    Words words = {"server"};
    words.insert(words.end(), GetParam().begin(), GetParam().end());
    const ToolResult result = runTool(words);
    EXPECT_EQ(result.exitCode, 3) << result.text();
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, testing::StartsWith("cabinaudio: no server"));
}

TEST_P(AServerCommand, ExplainsItselfWithoutAServer) {
    Words words = {"server"};
    words.insert(words.end(), GetParam().begin(), GetParam().end());
    words.push_back("--help");
    const ToolResult result = runTool(words);
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.out, HasSubstr("Usage: cabinaudio server " + GetParam().front()));
}

INSTANTIATE_TEST_SUITE_P(Any, AServerCommand,
                         testing::Values(Words{"state"}, Words{"crash"}, Words{"stall", "10"},
                                         Words{"source", "activate", "x"},
                                         Words{"source", "withdraw", "x"},
                                         Words{"stream", "remove", "x"},
                                         Words{"uplink", "ring", "on"}));

TEST(AnotherServer, TakesNoCommands) {
    SilentServer server;
    const ToolResult result = runTool({"server", "state"});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(result.err,
              "cabinaudio: the server takes no commands; it is not cabinaudio-server\n");
}

}  // namespace cabinaudio::test
