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
