// SPDX-License-Identifier: Apache-2.0
// The tool with servers that die in a request, close the connection, or hang: it ends with a
// reason.
#include <cabinaudio/foundation/AudioConnectType.h>

#include "tests/support/Row.h"
#include "tests/tools/ToolTest.h"
#include "wire/Stream.h"

#include <csignal>

namespace cabinaudio::test {

namespace {

using testing::AnyOf;
using namespace std::chrono_literals;

/// Far more than any of these tests lasts, and far more than a request may.
constexpr const char* LONG = "3000";

struct Command : Row {
    Words words;
};

class ToolCommand : public ToolTest, public testing::WithParamInterface<Command> {
protected:
    void SetUp() override { writeSound(mSound, {.frames = 4800}); }

    /// The command with this time-out, and files of this test's own.
    [[nodiscard]] Words words(const std::string& timeout) const {
        Words words = GetParam().words;
        for (std::string& word : words) {
            if (word == "SOUND") word = mSound;
            if (word == "FILE") word = mDirectory.file("recorded.wav");
        }
        return with(words, {"--timeout", timeout, "-v"});
    }

    std::string mSound = mDirectory.file("sound.wav");
};

INSTANTIATE_TEST_SUITE_P(
    Any, ToolCommand,
    testing::Values(
        Command{"play", {"play", "SOUND"}},
        Command{"playAuxiliary", {"play", "SOUND", "--tag", "auxiliary"}},
        Command{"playMain", {"play", "SOUND", "--tag", "main"}},
        Command{"record", {"record", "FILE", "--seconds", "0.2"}},
        Command{"recordUplink",
                {"record", "FILE", "--tag", "uplink", "--rate", "16000", "--seconds", "0.2"}},
        Command{"get", {"get", "volume.master"}}, Command{"set", {"set", "volume.master=-1dB"}},
        Command{"monitor", {"monitor", "volume.master"}}, Command{"version", {"version"}}),
    ROW_NAME);

}  // namespace

TEST_P(ToolCommand, EndsWithStatusFourWhenNoServerComes) {
    const Outcome result = runExpecting(4, with(words(LONG), {"--wait", "0.05"}));
    EXPECT_THAT(result.err,
                HasSubstr("timed out after 0.05 s waiting for a server: no server of "));
    EXPECT_THAT(result.out, IsEmpty());
}

TEST_P(ToolCommand, WaitsForAServer) {
    ToolProcess tool(with(words(LONG), {"--wait", "60"}));
    const RealServer server;
    if (std::string(GetParam().name) == "monitor") {
        ASSERT_TRUE(tool.waitForErr("watching"));
        tool.send(SIGINT);
    }
    tool.finishExpecting(0);
}

TEST(ServerCommand, WaitsForAServer) {
    ToolProcess tool({"server", "state", "--wait", "60"});
    const RealServer server;
    EXPECT_THAT(tool.finishExpecting(0).out, HasSubstr("no streams"));
}

TEST_P(ToolCommand, EndsAtOnceWhenTheServerIsKilledInARequest) {
    RealServer server;
    server.kill(SIGSTOP);
    ToolProcess tool(words(LONG));
    ASSERT_TRUE(tool.waitForErr("connect ok"));
    server.kill(SIGKILL);
    (void)server.wait();
    const Outcome result = tool.finishExpecting(3);
    EXPECT_THAT(result.err, AnyOf(HasSubstr("the server went away"), HasSubstr(": no server "),
                                  HasSubstr("the server is gone")));
}

TEST_P(ToolCommand, TimesOutWhenTheServerStandsStill) {
    RealServer server;
    server.kill(SIGSTOP);
    const Outcome result = runExpecting(4, words("0.3"));
    server.kill(SIGCONT);
    EXPECT_THAT(result.err, HasSubstr("timed out after 0.3 s waiting for the server"));
}

TEST_P(ToolCommand, WaitsForAServerThatContinuesInTime) {
    RealServer server({"--output", "null", "--input", "tone:440"});
    server.kill(SIGSTOP);
    ToolProcess tool(words("60"));
    ASSERT_TRUE(tool.waitForErr("connect ok"));
    server.kill(SIGCONT);
    if (GetParam().words[0] == "monitor") {  // ends by the user
        ASSERT_TRUE(tool.waitForErr("watching"));
        tool.send(SIGTERM);
    }
    tool.finishExpecting(0);
}

TEST(Playback, ReportsAConnectionClosedByTheServer) {
    TemporaryDirectory directory;
    const std::string sound = directory.file("sound.wav");
    writeSound(sound, {.frames = 4800});
    ScriptedServer server;
    server.on(id(wire::StreamFunction::Create), Answer::words(0, 0, 65536, 3072, 0, 0, 0));
    server.on(id(wire::StreamFunction::Start), Answer::close());
    const Outcome result = runExpecting(3, {"play", sound, "--timeout", LONG});
    EXPECT_THAT(result.err, HasSubstr("the server has closed the connection\n"));
}

}  // namespace cabinaudio::test
