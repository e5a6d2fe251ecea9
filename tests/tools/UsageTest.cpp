// SPDX-License-Identifier: Apache-2.0
#include "tests/tools/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace cabinaudio::test {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr char kHelp[] = R"(Plays sound through the cabin audio server and looks after it.
Usage: cabinaudio [options] sub-command

Options:
  -h,--help                 Print this help message and exit
  --version                 Print the version and exit

Subcommands:
  play                      Play audio files: WAV, FLAC, Ogg and more
  version                   Print the versions of library and server side by side
  doctor                    Look for whatever could keep sound from playing, and name the cure

Exit status: 0 done, 1 failed, 2 wrong usage, 3 no server, 4 timed out,
5 a check was not met.
)";

struct Wrong {
    std::vector<std::string> arguments;
    std::string says;
};

void PrintTo(const Wrong& wrong, std::ostream* out) {
    for (const std::string& word : wrong.arguments)
        *out << word << ' ';
}

}  // namespace

TEST(TheTool, ExplainsItselfWithoutAServer) {
    const ToolResult result = runTool({"--help"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_EQ(result.out, kHelp);
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_EQ(runTool({"-h"}).out, kHelp);
}

TEST(TheTool, TellsItsVersionWithoutAServer) {
    const ToolResult result = runTool({"--version"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.out, StartsWith("cabinaudio " CABINAUDIO_VERSION " (libsndfile-"));
    EXPECT_THAT(result.err, IsEmpty());
}

class ASubCommand : public testing::TestWithParam<const char*> {};

TEST_P(ASubCommand, ExplainsItselfWithoutAServer) {
    for (const char* option : {"-h", "--help"}) {
        const ToolResult result = runTool({GetParam(), option});
        EXPECT_EQ(result.exitCode, 0) << result.text();
        EXPECT_THAT(result.out, HasSubstr(std::string("Usage: cabinaudio ") + GetParam()));
        EXPECT_THAT(result.out, HasSubstr("--json"));
        EXPECT_THAT(result.err, IsEmpty());
    }
}

INSTANTIATE_TEST_SUITE_P(Any, ASubCommand, testing::Values("play", "version", "doctor"),
                         [](const auto& test) { return wordsOf(test.param); });

class AWrongCommandLine : public testing::TestWithParam<Wrong> {};

TEST_P(AWrongCommandLine, EndsWithStatusTwoAndOneLine) {
    const ToolResult result = runTool(GetParam().arguments);
    EXPECT_EQ(result.exitCode, 2) << result.text();
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, StartsWith("cabinaudio: " + GetParam().says));
    EXPECT_THAT(result.err, HasSubstr("--help')\n"));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
}

INSTANTIATE_TEST_SUITE_P(
    Any, AWrongCommandLine,
    testing::Values(Wrong{{"--nonsense"}, "unknown option '--nonsense'"},
                    Wrong{{"plai", "a.wav"}, "unknown sub-command 'plai'"},
                    Wrong{{"play", "--nonsense", "a.wav"}, "unknown option '--nonsense'"},
                    Wrong{{"play"}, "FILE is required"},
                    Wrong{{"play", "a.wav", "--tag", "uplink"},
                          "--tag: must be one of alternative"},
                    Wrong{{"play", "a.wav", "--tag", "Auxiliary"}, "--tag: must be one of"},
                    Wrong{{"play", "a.wav", "--name", "a/b"}, "--name: must not contain '/'"},
                    Wrong{{"play", "a.wav", "--name", ""}, "--name: must have 1 to 63 characters"},
                    Wrong{{"play", "a.wav", "--name", std::string(64, 'n')}, "--name: must have"},
                    Wrong{{"play", "a.wav", "--key-shift", "1.21", "--tag", "auxiliary"},
                          "--key-shift: must be a number from 0.8 to 1.2"},
                    Wrong{{"play", "a.wav", "--key-shift", "1.1"},
                          "--key-shift does nothing on an alternative stream"},
                    Wrong{{"play", "a.wav", "--timeout", "soon"}, "--timeout: must be a number"},
                    Wrong{{"play", "a.wav", "--instance", "a.b"}, "--instance: must be 1 to 32 of"},
                    Wrong{{"version", "surplus"}, "unknown argument 'surplus'"},
                    Wrong{{"doctor", "-x"}, "unknown option '-x'"}));

TEST(TheTool, SaysThatASubCommandIsMissing) {
    const ToolResult result = runTool({});
    EXPECT_EQ(result.exitCode, 2) << result.text();
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, HasSubstr("(try 'cabinaudio --help')\n"));
}

TEST(TheTool, RefusesALogFileThatItCannotOpen) {
    const ToolResult result = runTool({"version", "--log", "/nonsense/log"});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(result.err,
              "cabinaudio: cannot open log file /nonsense/log: No such file or directory\n");
}

}  // namespace cabinaudio::test
