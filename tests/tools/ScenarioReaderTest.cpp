// SPDX-License-Identifier: Apache-2.0
// Files of scenarios as they are read, without running them.
#include "tools/scenario/Moment.h"
#include "tools/scenario/Reader.h"
#include "tools/scenario/ServerWords.h"
#include "tools/scenario/Signals.h"
#include "tools/scenario/Timeline.h"
#include "tools/scenario/Words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <sstream>
#include <string>

namespace cabinaudio::tool::scenario {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Reading read(const std::string& text) {
    std::istringstream lines(text);
    return readScenario(lines, "f");
}

Scenario readGood(const std::string& text) {
    Reading reading = read(text);
    EXPECT_THAT(reading.faults, IsEmpty());
    return reading.scenario;
}

/// A line behind a good one, and the text of its error.
struct BadLine {
    std::string line;
    std::string fault;

    friend void PrintTo(const BadLine& bad, std::ostream* out) { *out << bad.line; }
};

class ScenarioLine : public testing::TestWithParam<BadLine> {};

constexpr char ACTIONS[] =
    "expected set, run, signal, restart, source activate, source withdraw, stream remove, ring "
    "announce, uplink ring on, uplink ring off, fault short-reply, fault wrong-magic, stall, crash";
constexpr char EXPECTED_TIMES[] =
    "expected milliseconds such as 2000, frames such as 96000f, or +500 after the line before";

}  // namespace

TEST(ScenarioWords, AreSplitAsAShellDoes) {
    EXPECT_THAT(splitLine("  run a\t'b c' \"d 'e' \\\"f\\\" \\g\" h\\ i ''").words,
                ElementsAre("run", "a", "b c", "d 'e' \"f\" \\g", "h i", ""));
    EXPECT_THAT(splitLine("a#b # c d").words, ElementsAre("a#b"));
    EXPECT_THAT(splitLine("'#' \\# x'y'z").words, ElementsAre("#", "#", "xyz"));
    EXPECT_THAT(splitLine("run a\r").words, ElementsAre("run", "a"));
    EXPECT_THAT(splitLine(" \t ").words, IsEmpty());
}

TEST(ScenarioWords, UnclosedQuotesAreFaults) {
    EXPECT_EQ(splitLine("a 'b").fault, "the quote ' is not closed");
    EXPECT_EQ(splitLine("a \"b\\\"").fault, "the quote \" is not closed");
    EXPECT_EQ(splitLine("a\\").fault, "the line ends with a backslash");
    EXPECT_EQ(splitLine("a 'b' # it's").fault, "");
}

TEST(ScenarioMoment, IsMillisecondsOrFrames) {
    const Moment start{0, "0"};
    EXPECT_EQ(momentOf("2000", 48000, start)->frame, 96000u);
    EXPECT_EQ(momentOf("96000f", 48000, start)->text, "2000");
    EXPECT_EQ(momentOf("96001f", 48000, start)->text, "96001f");
    EXPECT_EQ(momentOf("1", 44100, start)->frame, 44u);
    EXPECT_EQ(momentOf("1", 44100, start)->text, "1");
    EXPECT_EQ(momentOf("0", 48000, start)->frame, 0u);
}

TEST(ScenarioMoment, AddsToTheOneBefore) {
    EXPECT_EQ(momentOf("+500", 48000, {96000, "2000"})->frame, 120000u);
    EXPECT_EQ(momentOf("+1f", 48000, {96000, "2000"})->text, "96001f");
    // 1005 ms and 505 ms are half a frame each, which is lost when each is rounded.
    const Moment before = *momentOf("1005", 44100, {0, "0"});
    EXPECT_EQ(momentOf("+505", 44100, before)->text, "1510");
    EXPECT_EQ(momentOf("+505", 44100, before)->frame, momentOf("1510", 44100, {0, "0"})->frame);
}

TEST(ScenarioMoment, RefusesOtherTexts) {
    for (const char* text :
         {"", "f", "+", "-1", "1.5", "2s", "0x10", "1f2", "86400001", " 1", "18446744073709551616"})
        EXPECT_FALSE(momentOf(text, 48000, {0, "0"}).has_value()) << text;
    EXPECT_TRUE(momentOf("86400000", 48000, {0, "0"}).has_value());
    EXPECT_FALSE(momentOf("+86400000", 48000, {1, "1f"}).has_value());
}

TEST(ScenarioSignal, HasANameOrANumber) {
    EXPECT_EQ(signalNumber("USR1"), SIGUSR1);
    EXPECT_EQ(signalNumber("SIGTERM"), SIGTERM);
    EXPECT_EQ(signalNumber("9"), SIGKILL);
    for (const char* text : {"", "0", "65", "-9", "usr1", "SIG", "USR3"})
        EXPECT_FALSE(signalNumber(text).has_value()) << text;
}

TEST(ScenarioFile, IsReadAsAWhole) {
    const Scenario scenario = readGood(R"(# A prompt ducks the music.
server  --input input0=voice.wav --hold 1 --patience 2000
set     ducking.mode=1
run     player ./my-player --autoplay "two words"
run     nav    ./my-nav

await   prompt 5000
at 2000 set volume.master=-6dB   # while time stands
at 3000 source withdraw 'a stream'
at +500 source activate 'a stream'
at 6000 signal player USR1
at 300000f run late ./late
until   finished music
expect  exit player 0
expect  exit nav SIGTERM
expect  output player 'withdrawn'
expect  error 'was started while time passes'
)");
    EXPECT_THAT(scenario.serverOptions,
                ElementsAre("--input", "input0=voice.wav", "--hold", "1", "--patience", "2000"));
    EXPECT_THAT(scenario.serverLines, ElementsAre(2, 2, 2, 2, 2, 2));
    EXPECT_EQ(scenario.patience.count(), 2000);
    ASSERT_EQ(scenario.settings.size(), 1u);
    EXPECT_THAT(scenario.settings[0].assignments, ElementsAre("ducking.mode=1"));
    ASSERT_EQ(scenario.programs.size(), 2u);
    EXPECT_EQ(scenario.programs[0].name, "player");
    EXPECT_THAT(scenario.programs[0].words, ElementsAre("./my-player", "--autoplay", "two words"));
    ASSERT_EQ(scenario.parts.size(), 1u);
    EXPECT_EQ(scenario.parts[0].awaits.at(0).stream, "prompt");
    EXPECT_EQ(scenario.parts[0].awaits.at(0).at->frame, 240000u);
    ASSERT_EQ(scenario.parts[0].actions.size(), 5u);
    EXPECT_EQ(scenario.parts[0].actions[2].at.frame, 168000u);
    EXPECT_EQ(scenario.parts[0].actions[2].line, 10u);
    EXPECT_EQ(std::get<ServerCommand>(scenario.parts[0].actions[2].action).text,
              "source activate a stream");
    EXPECT_EQ(std::get<SignalCommand>(scenario.parts[0].actions[3].action).signal, SIGUSR1);
    EXPECT_EQ(std::get<RunCommand>(scenario.parts[0].actions[4].action).program.name, "late");
    EXPECT_EQ(scenario.until.finished, "music");
    ASSERT_EQ(scenario.expectations.size(), 4u);
    EXPECT_EQ(std::get<ExpectExit>(scenario.expectations[1].what).signal, SIGTERM);
    EXPECT_EQ(scenario.expectations[2].text, "output player withdrawn");
}

TEST(ScenarioFile, RestartBeginsAPartWithATimeOfItsOwn) {
    const Scenario scenario = readGood(
        "run p ./p\nat 2000 uplink ring off\nat 3000 restart\nat 100 uplink ring on\n"
        "expect exit p 0\n");
    ASSERT_EQ(scenario.parts.size(), 2u);
    EXPECT_EQ(scenario.parts[0].restartAt->frame, 144000u);
    EXPECT_EQ(scenario.parts[0].restartLine, 3u);
    EXPECT_EQ(scenario.parts[1].actions.at(0).at.frame, 4800u);
    EXPECT_FALSE(scenario.parts[1].restartAt.has_value());
    EXPECT_EQ(scenario.expectations.at(0).part, 1u);
}

TEST(ScenarioFile, TheRateOfTheOutputGivesTheFrames) {
    EXPECT_EQ(readGood("server --rate=44100\nrun p p\nuntil 1000\n").until.at->frame, 44100u);
}

TEST(ScenarioFile, AllErrorsAreTold) {
    EXPECT_THAT(read("run p\nfoo\n\nuntil\n").faults,
                ElementsAre("f:1: 'run p' lacks a command",
                            "f:2: 'foo' is no keyword; expected server, set, run, await, at, "
                            "until, expect",
                            "f:4: 'until' lacks 'finished NAME' or a time"));
}

TEST(ScenarioFile, AFileWithoutProgramIsRefused) {
    EXPECT_THAT(read("# nothing\n").faults,
                ElementsAre("f:1: the file has no program; expected a line such as 'run player "
                            "./player'"));
    EXPECT_THAT(read("").faults.size(), 1u);
}

TEST(ScenarioFile, AProgramWithAFaultIsKnownToLaterLines) {
    EXPECT_THAT(read("run p\nexpect exit p 0\n").faults,
                ElementsAre("f:1: 'run p' lacks a command"));
}

TEST_P(ScenarioLine, IsRefused) {
    const Reading reading = read("run p ./p\nat 1000 uplink ring on\n" + GetParam().line + "\n");
    EXPECT_THAT(reading.faults, ElementsAre("f:3: " + GetParam().fault));
}

INSTANTIATE_TEST_SUITE_P(
    Bad, ScenarioLine,
    testing::Values(
        BadLine{"Run x y",
                "'Run' is no keyword; expected server, set, run, await, at, until, "
                "expect"},
        BadLine{"run 'x", "the quote ' is not closed"},
        BadLine{"server --hold 1", "options of the server stand before all other lines"},
        BadLine{"set volume.master=1",
                "'set' without a time stands before the programs; later, write 'at MS set ...'"},
        BadLine{"run late ./late",
                "'run' without a time stands before all times; later, write 'at MS run ...'"},
        BadLine{"at", std::string("'at' lacks a time; ") + EXPECTED_TIMES},
        BadLine{"at 2s crash", std::string("'2s' is no time; ") + EXPECTED_TIMES},
        BadLine{"at 999 crash", "the time 999 is before 1000 of line 2; times must rise"},
        BadLine{"at 47952f crash", "the time 999 is before 1000 of line 2; times must rise"},
        BadLine{"at 96001f crash",
                "'96001f' is no frame that begins a millisecond, as the server's times do; "
                "expected 96000f or 96048f"},
        BadLine{"at 2000", std::string("'at' lacks an action; ") + ACTIONS},
        BadLine{"at 2000 jump high", std::string("'jump high' is no action; ") + ACTIONS},
        BadLine{"at 2000 uplink ring", std::string("'uplink ring' is no action; ") + ACTIONS},
        BadLine{"at 2000 set", "'set' lacks an assignment such as volume.master=-6dB"},
        BadLine{"at 2000 set loud", "'loud' is no assignment such as volume.master=-6dB"},
        BadLine{"at 2000 run", "'run' lacks a name and a command"},
        BadLine{"at 2000 run 'a b' c", "the name 'a b' must be 1 to 32 of A-Z a-z 0-9 _ -"},
        BadLine{"at 2000 run p ./p", "the name 'p' is taken by the program of line 1"},
        BadLine{"at 2000 run q", "'run q' lacks a command"},
        BadLine{"at 2000 signal", "'signal' lacks the name of a program"},
        BadLine{"at 2000 signal q USR1", "no program 'q' on the lines before; expected one of p"},
        BadLine{"at 2000 signal p", "'signal' lacks a signal such as USR1"},
        BadLine{"at 2000 signal p USR3", "'USR3' is no signal; expected one such as USR1 or 10"},
        BadLine{"at 2000 signal p 9 now", "unexpected 'now'"},
        BadLine{"at 2000 restart now", "unexpected 'now'"},
        BadLine{"at 2000 source withdraw", "'source withdraw' lacks the name of a stream"},
        BadLine{"at 2000 stream remove a b",
                "unexpected 'b' after 'stream remove a'; a name with blanks needs quotes"},
        BadLine{"at 2000 fault short-reply",
                "'fault short-reply' lacks the name of a request such as start, or 'any'"},
        BadLine{"at 2000 fault wrong-magic any a b",
                "unexpected 'b' after 'fault wrong-magic any a'; a name with blanks needs quotes"},
        BadLine{"at 2000 crash hard", "unexpected 'hard' after 'crash'"},
        BadLine{"at 2000 stall", "'stall' lacks a number of milliseconds from 1 to 60000"},
        BadLine{"at 2000 stall 60001",
                "'stall 60001' lacks a number of milliseconds from 1 to 60000"},
        BadLine{"await", "'await' lacks the name of a stream"},
        BadLine{"await ''", "'await' lacks the name of a stream"},
        BadLine{"await a soon", std::string("'soon' is no time; ") + EXPECTED_TIMES},
        BadLine{"await a 5 6", "unexpected '6'"},
        BadLine{"until", "'until' lacks 'finished NAME' or a time"},
        BadLine{"until finished", "'until finished' lacks the name of a stream"},
        BadLine{"until finished ''", "'until finished' lacks the name of a stream"},
        BadLine{"until finished a b", "unexpected 'b'"},
        BadLine{"until 10", "the time 10 is before 1000 of line 2; times must rise"},
        BadLine{"expect", "'expect' lacks exit, check, output or error"},
        BadLine{"expect joy", "'joy' cannot be expected; expected exit, check, output or error"},
        BadLine{"expect exit", "'expect exit' lacks the name of a program"},
        BadLine{"expect exit q 0", "no program 'q' on the lines before; expected one of p"},
        BadLine{"expect exit p", "'expect exit' lacks a status"},
        BadLine{"expect exit p 256",
                "'256' is no status; expected 0 to 255, or a signal such as SIGTERM"},
        BadLine{"expect exit p -1",
                "'-1' is no status; expected 0 to 255, or a signal such as SIGTERM"},
        BadLine{"expect exit p 0 0", "unexpected '0'; several words need quotes"},
        BadLine{"expect check", "'expect check' lacks a check such as 'tone 440'"},
        BadLine{"expect check silence [0..1]", "unexpected '[0..1]'; several words need quotes"},
        BadLine{"expect error", "'expect error' lacks a part of the error's text"},
        BadLine{"expect output", "'expect output' lacks the name of a program"},
        BadLine{"expect output p", "'expect output' lacks a part of the output"}));

TEST(ScenarioFile, TextsThatAreNoCheckAreRefused) {
    const Reading reading = read("run p ./p\nexpect check 'tune 440'\n");
    ASSERT_EQ(reading.faults.size(), 1u);
    EXPECT_THAT(reading.faults[0], testing::StartsWith("f:2: "));
    EXPECT_THAT(reading.faults[0], testing::HasSubstr("tune"));
}

TEST(ScenarioFile, OptionsOfTheScenarioItselfAreRefused) {
    EXPECT_THAT(read("server --output=null\nserver hold\nserver\nserver --at 1:crash\n"
                     "server --patience 999\nserver --rate\nserver -V\nrun p p\n")
                    .faults,
                ElementsAre("f:1: the option --output is not for a scenario: the scenario sets it",
                            "f:2: 'hold' is no option; expected one such as --hold 1",
                            "f:3: 'server' lacks options such as --input input0=voice.wav",
                            "f:4: the option --at is not for a scenario: write a line 'at MS "
                            "COMMAND'",
                            "f:5: '999' of --patience is no number from 1000 to 3600000",
                            "f:6: '' of --rate is no number from 8000 to 192000",
                            "f:7: the option -V is not for a scenario: it starts no server"));
}

TEST(ScenarioFile, AnOptionThatTheServerRefusesHasItsLine) {
    const Scenario scenario = readGood(
        "server --hold 1 --patience=2000\nserver --input a=b --input=c=d\nserver --hold-on\n"
        "run p p\n");
    EXPECT_EQ(optionPlace(scenario, "--hold: bad"), "f:1: ");
    EXPECT_EQ(optionPlace(scenario, "not expected: --hold-on (try --help)"), "f:3: ");
    EXPECT_EQ(optionPlace(scenario, "a=b: no input"), "f:2: ");
    EXPECT_EQ(optionPlace(scenario, "c=d: no input"), "f:2: ");
    EXPECT_EQ(optionPlace(scenario, "--hold excludes --input"), "f:1: options of lines 1, 2: ");
    EXPECT_EQ(optionPlace(scenario, "no memory"), "f:1: options of lines 1, 2, 3: ");
    EXPECT_EQ(optionPlace(readGood("run p p\n"), "--hold: bad"), "");
}

TEST(ScenarioFile, NothingButARestartFollowsACrash) {
    EXPECT_THAT(read("run p p\nat 5 crash\nat 6 stall 5\nuntil 7\n").faults,
                ElementsAre("f:3: only 'restart' can follow 'crash' of line 2",
                            "f:4: no time passes after 'crash' of line 2"));
    EXPECT_THAT(read("run p p\nat 5 crash\nat 6 restart\nat 0 stall 5\nuntil 7\n").faults,
                IsEmpty());
}

TEST(ScenarioFile, NothingFollowsUntil) {
    EXPECT_THAT(read("run p p\nuntil 7\nat 8 crash\nuntil 9\n").faults,
                ElementsAre("f:3: a time after 'until' of line 2",
                            "f:4: a second 'until'; the first one is on line 2"));
}

TEST(ScenarioTimeline, TheServerActsAloneWhereItCan) {
    const Scenario scenario = readGood(
        "run p p\nawait s\nawait t 5\nat 10 source withdraw s\nat 20 source activate s\n"
        "at 20 set volume.master=1\nat 30 crash\n");
    const Timeline timeline = timelineOf(scenario.parts[0], scenario.until, true);
    EXPECT_THAT(timeline.serverOptions,
                ElementsAre("--await", "s", "--await", "t@5", "--at", "10:source withdraw s"));
    ASSERT_EQ(timeline.stops.size(), 2u);
    EXPECT_EQ(timeline.stops[0].actions.size(), 2u);
    EXPECT_EQ(timeline.stops[0].actions[0]->line, 5u);
    EXPECT_EQ(timeline.stops[1].at.text, "30");
}

TEST(ScenarioTimeline, AnEndlessPartLastsAnHourAfterItsLastStop) {
    const Scenario scenario = readGood("server --rate 8000\nrun p p\nat 10000 set a.b=1\n");
    EXPECT_EQ(lastFrame(timelineOf(scenario.parts[0], scenario.until, true), 8000), 3610u * 8000u);
    EXPECT_EQ(lastFrame(Timeline(), 48000), 3600u * 48000u);
}

TEST(ScenarioTimeline, TimeStandsAtTheEndOfAPart) {
    const Scenario scenario = readGood("run p p\nat 10 restart\nuntil 20\n");
    const Timeline first = timelineOf(scenario.parts[0], scenario.until, false);
    ASSERT_EQ(first.stops.size(), 1u);
    EXPECT_EQ(first.stops[0].at.text, "10");
    EXPECT_THAT(first.stops[0].actions, IsEmpty());
    const Timeline last = timelineOf(scenario.parts[1], scenario.until, true);
    ASSERT_EQ(last.stops.size(), 1u);
    EXPECT_EQ(last.stops[0].at.text, "20");
}

}  // namespace cabinaudio::tool::scenario
