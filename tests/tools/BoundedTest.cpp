// SPDX-License-Identifier: Apache-2.0
// The tool against servers that die in a request, close it, or stand still: it ends, and says why.
#include <cabinaudio/foundation/AudioConnectType.h>

#include "tests/server/TemporaryDirectory.h"
#include "tests/support/RealServer.h"
#include "tests/support/ScriptedServer.h"
#include "tests/tools/Sounds.h"
#include "tests/tools/ToolProcess.h"
#include "wire/Stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace cabinaudio::test {

namespace {

using testing::AnyOf;
using testing::HasSubstr;
using namespace std::chrono_literals;

using Words = std::vector<std::string>;

/// Far more than any of these tests lasts, and far more than a request may.
constexpr const char* LONG = "3000";

struct Command {
    const char* name;
    Words words;
};

void PrintTo(const Command& command, std::ostream* out) {
    *out << command.name;
}

class ACommand : public testing::TestWithParam<Command> {
protected:
    void SetUp() override { writeSound(mSound, {.frames = 4800}); }

    /// The command with this time-out, and files of this test's own.
    [[nodiscard]] Words words(const std::string& timeout) const {
        Words words = GetParam().words;
        for (std::string& word : words) {
            if (word == "SOUND") word = mSound;
            if (word == "FILE") word = mDirectory.file("recorded.wav");
        }
        words.insert(words.end(), {"--timeout", timeout, "-v"});
        return words;
    }

    TemporaryDirectory mDirectory;
    std::string mSound = mDirectory.file("sound.wav");
};

INSTANTIATE_TEST_SUITE_P(
    Any, ACommand,
    testing::Values(
        Command{"play", {"play", "SOUND"}},
        Command{"playAuxiliary", {"play", "SOUND", "--tag", "auxiliary"}},
        Command{"playMain", {"play", "SOUND", "--tag", "main"}},
        Command{"record", {"record", "FILE", "--seconds", "0.2"}},
        Command{"recordUplink",
                {"record", "FILE", "--tag", "uplink", "--rate", "16000", "--seconds", "0.2"}},
        Command{"get", {"get", "volume.master"}}, Command{"set", {"set", "volume.master=-1dB"}},
        Command{"monitor", {"monitor", "volume.master"}}, Command{"version", {"version"}}),
    [](const auto& one) { return one.param.name; });

}  // namespace

TEST_P(ACommand, EndsAtOnceWhenTheServerIsKilledInARequest) {
    RealServer server;
    server.kill(SIGSTOP);
    ToolProcess tool(words(LONG));
    ASSERT_TRUE(tool.waitForErr("connect ok"));
    server.kill(SIGKILL);
    (void)server.wait();
    const ToolResult result = tool.wait();
    EXPECT_FALSE(result.overdue);
    EXPECT_EQ(result.exitCode, 3) << result.text();
    EXPECT_THAT(result.err, AnyOf(HasSubstr("the server went away"), HasSubstr(": no server "),
                                  HasSubstr("the server is gone")));
}

TEST_P(ACommand, TimesOutWhenTheServerStandsStill) {
    RealServer server;
    server.kill(SIGSTOP);
    const ToolResult result = runTool(words("0.3"));
    server.kill(SIGCONT);
    EXPECT_EQ(result.exitCode, 4) << result.text();
    EXPECT_THAT(result.err, HasSubstr("timed out after 0.3 s waiting for the server"));
}

TEST_P(ACommand, WaitsForAServerThatGoesOnInTime) {
    RealServer server({"--output", "null", "--input", "tone:440"});
    server.kill(SIGSTOP);
    ToolProcess tool(words("60"));
    ASSERT_TRUE(tool.waitForErr("connect ok"));
    server.kill(SIGCONT);
    if (GetParam().words[0] == "monitor") {  // ends by the user
        ASSERT_TRUE(tool.waitForErr("watching"));
        tool.send(SIGTERM);
    }
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 0) << result.text();
}

TEST(APlayback, SaysThatTheServerHasClosedTheConnection) {
    TemporaryDirectory directory;
    const std::string sound = directory.file("sound.wav");
    writeSound(sound, {.frames = 4800});
    ScriptedServer server;
    server.on(static_cast<std::uint32_t>(wire::StreamFunction::Create),
              Answer::words(0, 0, 65536, 3072, 0, 0, 0));
    server.on(static_cast<std::uint32_t>(wire::StreamFunction::Start), Answer::close());
    const ToolResult result = runTool({"play", sound, "--timeout", LONG});
    EXPECT_EQ(result.exitCode, 3) << result.text();
    EXPECT_THAT(result.err, HasSubstr("the server has closed the connection\n"));
}

}  // namespace cabinaudio::test
