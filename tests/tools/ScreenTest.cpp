// SPDX-License-Identifier: Apache-2.0
// What only a terminal gets to see.
#include "tests/server/TemporaryDirectory.h"
#include "tests/support/RealServer.h"
#include "tests/tools/Sounds.h"
#include "tests/tools/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cabinaudio::test {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

}  // namespace

TEST(TheProgressBar, IsShownOnATerminalAndWipedOffAtTheEnd) {
    const TemporaryDirectory directory;
    const std::string file = directory.file("sound");
    writeSound(file, {.frames = 24000});
    const RealServer server;
    ToolSetup setup;
    setup.errOnTerminal = true;
    const ToolResult result = runTool({"play", file}, setup);
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.err,
                testing::ContainsRegex("\r\\[=* *\\] 0:00\\.[0-9] / 0:00\\.5  queued [0-9]+ ms"));
    EXPECT_THAT(result.err, testing::EndsWith(" \r"));
    EXPECT_THAT(result.err, Not(HasSubstr("\n")));
    EXPECT_THAT(result.out, HasSubstr("played to the end"));
    EXPECT_THAT(result.out, Not(HasSubstr("\r")));
}

TEST(TheLevelMeter, IsShownOnATerminalAndWipedOffAtTheEnd) {
    const TemporaryDirectory directory;
    const RealServer server({"--output", "null", "--input", "tone:440"});
    ToolSetup setup;
    setup.errOnTerminal = true;
    const std::vector<std::string> words = {"record", directory.file("a.wav"), "--seconds", "0.5"};
    const ToolResult result = runTool(words, setup);
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.err, testing::ContainsRegex(
                                "\r\\[=+ *\\] +-[0-9]+\\.[0-9] dB  0:00\\.[0-9] / 0:00\\.5"));
    EXPECT_THAT(result.err, testing::EndsWith(" \r"));
    EXPECT_THAT(result.err, Not(HasSubstr("\n")));
    EXPECT_THAT(result.err, Not(HasSubstr("\033")));  // no TERM here
    EXPECT_THAT(runTool(words).err, IsEmpty());
}

TEST(TheLevelMeter, IsColouredWhereItIsLoud) {
    const TemporaryDirectory directory;
    const std::string file = directory.file("loud");
    writeSound(file, {.frames = 48000});
    const RealServer server({"--output", "null", "--input", file});
    ToolSetup setup;
    setup.errOnTerminal = true;
    setup.environment = {{"TERM", "xterm"}};
    const std::vector<std::string> words = {"record", directory.file("a.wav"), "--seconds", "0.5"};
    EXPECT_THAT(runTool(words, setup).err, testing::ContainsRegex("\r\033\\[3[13]m\\[=+"));
    setup.environment = {{"TERM", "xterm"}, {"NO_COLOR", "1"}};
    EXPECT_THAT(runTool(words, setup).err, Not(HasSubstr("\033")));
}

TEST(TheLevelMeter, SaysWhatIsNotDecoded) {
    const TemporaryDirectory directory;
    const RealServer server({"--output", "null", "--uplink-delay", "never"});
    ToolSetup setup;
    setup.errOnTerminal = true;
    const ToolResult result = runTool({"record", directory.file("a.opus"), "--tag", "uplink",
                                       "--codec", "opus", "--seconds", "0.3"},
                                      setup);
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.err, HasSubstr("\rrecording 0:00."));
    EXPECT_THAT(result.err, HasSubstr("  no ring"));
}

TEST(TheDoctorsMarks, AreColouredOnATerminalOnly) {
    const RealServer server;
    ToolSetup setup;
    setup.environment = {{"TERM", "xterm"}};
    EXPECT_THAT(runTool({"doctor"}, setup).out, Not(HasSubstr("\033")));
    setup.outOnTerminal = true;
    EXPECT_THAT(runTool({"doctor"}, setup).out, HasSubstr("\033[32mok  \033[0m  server"));
}

TEST(TheDoctorsMarks, AreNotColouredWhereNobodyWantsIt) {
    ToolSetup setup;
    setup.outOnTerminal = true;
    setup.environment = {{"TERM", "xterm"}, {"NO_COLOR", "1"}};
    EXPECT_THAT(runTool({"doctor"}, setup).out, Not(HasSubstr("\033")));
    setup.environment = {{"TERM", "dumb"}};
    EXPECT_THAT(runTool({"doctor"}, setup).out, Not(HasSubstr("\033")));
}

}  // namespace cabinaudio::test
