// SPDX-License-Identifier: Apache-2.0
// Output that appears on terminals only.
#include "tests/tools/ToolTest.h"

namespace cabinaudio::test {

namespace {

using testing::ContainsRegex;

/// Starts the tool with stderr on a terminal that has no kind.
const ToolSetup ON_TERMINAL = {.errOnTerminal = true};

class TerminalTest : public ToolTest {
protected:
    [[nodiscard]] Words recording() const { return {"record", file("a.wav"), "--seconds", "0.5"}; }
};
class ProgressBar : public TerminalTest {};
class LevelMeter : public TerminalTest {};
class DoctorMarks : public TerminalTest {};

/// Output that was overwritten in its row until nothing of it was left.
void expectWipedOff(const std::string& err) {
    EXPECT_THAT(err, testing::EndsWith(" \r"));
    EXPECT_THAT(err, Not(HasSubstr("\n")));
}

}  // namespace

TEST_F(ProgressBar, IsShownOnATerminalAndWipedOffAtTheEnd) {
    writeSound(file("sound"), {.frames = 24000});
    serve();
    const Outcome result = runExpecting(0, {"play", file("sound")}, ON_TERMINAL);
    EXPECT_THAT(result.err,
                ContainsRegex("\r\\[=* *\\] 0:00\\.[0-9] / 0:00\\.5  queued [0-9]+ ms"));
    expectWipedOff(result.err);
    EXPECT_THAT(result.out, HasSubstr("played to the end"));
    EXPECT_THAT(result.out, Not(HasSubstr("\r")));
}

TEST_F(LevelMeter, IsShownOnATerminalAndWipedOffAtTheEnd) {
    serve({"--input", "tone:440"});
    const Outcome result = runExpecting(0, recording(), ON_TERMINAL);
    EXPECT_THAT(result.err,
                ContainsRegex("\r\\[=+ *\\] +-[0-9]+\\.[0-9] dB  0:00\\.[0-9] / 0:00\\.5"));
    expectWipedOff(result.err);
    EXPECT_THAT(result.err, Not(HasSubstr("\033")));  // no TERM here
    EXPECT_THAT(runTool(recording()).err, IsEmpty());
}

TEST_F(LevelMeter, IsColouredWhereItIsLoud) {
    writeSound(file("loud"), {.frames = 48000});
    serve({"--input", file("loud")});
    ToolSetup setup = {.environment = {{"TERM", "xterm"}}, .errOnTerminal = true};
    EXPECT_THAT(runTool(recording(), setup).err, ContainsRegex("\r\033\\[3[13]m\\[=+"));
    setup.environment.emplace_back("NO_COLOR", "1");
    EXPECT_THAT(runTool(recording(), setup).err, Not(HasSubstr("\033")));
}

TEST_F(LevelMeter, IsReplacedByATimeForCodedUplinks) {
    serve({"--uplink-delay", "never"});
    const Words words = {"record",  file("a.opus"), "--tag",     "uplink",
                         "--codec", "opus",         "--seconds", "0.3"};
    const Outcome result = runExpecting(0, words, ON_TERMINAL);
    EXPECT_THAT(result.err, HasSubstr("\rrecording 0:00."));
    EXPECT_THAT(result.err, HasSubstr("  no ring"));
}

TEST_F(DoctorMarks, AreColouredOnATerminalOnly) {
    serve();
    ToolSetup setup = {.environment = {{"TERM", "xterm"}}};
    EXPECT_THAT(runTool({"doctor"}, setup).out, Not(HasSubstr("\033")));
    setup.outOnTerminal = true;
    EXPECT_THAT(runTool({"doctor"}, setup).out, HasSubstr("\033[32mok  \033[0m  server"));
}

TEST_F(DoctorMarks, AreNotColouredWithNoColorOrADumbTerminal) {
    for (const Variables& environment :
         {Variables{{"TERM", "xterm"}, {"NO_COLOR", "1"}}, Variables{{"TERM", "dumb"}}}) {
        const ToolSetup setup = {.environment = environment, .outOnTerminal = true};
        EXPECT_THAT(runTool({"doctor"}, setup).out, Not(HasSubstr("\033")));
    }
}

}  // namespace cabinaudio::test
