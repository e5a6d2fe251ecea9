// SPDX-License-Identifier: Apache-2.0
// `cabinaudio top` as lines; its screen has tests of its own.
#include "tests/support/TerminalText.h"
#include "tests/tools/PlayingToolTest.h"

#include <csignal>

namespace cabinaudio::test {

namespace {

using testing::ContainsRegex;
using testing::EndsWith;

class Top : public PlayingToolTest {};

}  // namespace

TEST_F(Top, PrintsOneTable) {
    serve();
    playForever("radio");
    runExpecting(0, {"set", "volume.track.auxiliary.radio=-12dB"});
    const Outcome table = runExpecting(0, {"top", "--once"});
    EXPECT_THAT(table.err, IsEmpty());
    EXPECT_THAT(table.out, ContainsRegex("mix [0-9]+\\.[0-9] % of 16\\.0 ms"));
    EXPECT_THAT(table.out, HasSubstr("output nothing"));
    EXPECT_THAT(table.out,
                ContainsRegex("\nNAME .* LOWERED BY\nradio +" + std::to_string(mPlayer->pid()) +
                              " .*auxiliary +system +active +48000x2x16 +-12\\.0 "));
}

TEST_F(Top, PrintsFiguresAsJsonLines) {
    serve();
    playForever("radio");
    ToolProcess top({"top", "--json", "--interval", "10"});
    for (int i = 0; i < 3; ++i) {
        const json line = json::parse(top.readLine());
        EXPECT_EQ(line.at("streams").at(0).at("name"), "radio");
        EXPECT_TRUE(line.at("load").contains("mix_percent"));
        EXPECT_FALSE(line.contains("settings"));
    }
    top.send(SIGINT);
    top.finishExpecting(0);
    const Outcome two = runExpecting(0, {"top", "--json", "--interval", "1", "--count", "2"});
    EXPECT_EQ(linesOf(two.out).size(), 2U);
    EXPECT_TRUE(json::accept(runExpecting(0, {"top", "--json", "--once"}).out));
}

TEST_F(Top, WaitsForAServerThatGoesAndContinuesWithTheNext) {
    serve();
    ToolProcess top({"top", "--json", "--interval", "10"});
    EXPECT_TRUE(json::parse(top.readLine()).contains("output"));
    mServer.reset();
    json line;
    do
        line = json::parse(top.readLine());
    while (line.contains("output"));
    EXPECT_EQ(line.at("problem"), "it is not running");
    EXPECT_THAT(line.at("waiting_since"), ContainsRegex("^20.*T.*:"));
    serve();
    EXPECT_TRUE(json::parse(top.readLine()).contains("output"));
}

TEST_F(Top, NamesItsReasonWhenItCannot) {
    EXPECT_THAT(runExpecting(3, {"top", "--once"}).err, HasSubstr("no server"));
    EXPECT_THAT(runExpecting(2, {"top", "--once", "--count", "2"}).err,
                HasSubstr("--once does not go with --count"));
    EXPECT_THAT(runExpecting(2, {"top", "-v"}).err, HasSubstr("use --log FILE"));
    {
        const ScriptedServer real;
        EXPECT_THAT(runExpecting(1, {"top", "--once"}).err,
                    HasSubstr("takes no commands; it is not cabinaudio-server"));
    }
    serve();
    EXPECT_THAT(runExpecting(1, {"top"}).err, EndsWith("use --once or --json\n"));
}

TEST_F(Top, ShowsForeignNamesWithoutObeyingThem) {
    serve();
    playForever(
        "\033[2JC\xc2\x9b"
        "E\n\xff");
    const Outcome table = runExpecting(0, {"top", "--once"});
    expectNoControls(table.out);
    EXPECT_THAT(table.out, HasSubstr("\\x1b[2JC"));
}

}  // namespace cabinaudio::test
