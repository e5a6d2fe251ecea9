// SPDX-License-Identifier: Apache-2.0
#include "tests/tools/ToolTest.h"

#include <string>

namespace cabinaudio::test {

namespace {

constexpr char HELP[] =
    R"(Plays and records sound through the cabin audio server and looks after it.
Usage: cabinaudio [options] sub-command

Options:
  -h,--help                 Print this help message and exit
  -V,--version              Print the version, compiler and libraries, and exit

Subcommands:
  play                      Play audio files: WAV, FLAC, Ogg and more
  record                    Record what the server captures, or the uplink of a call
  listen                    Record what a running cabinaudio-server plays
  top                       Show the streams of a running cabinaudio-server, levels and load
  view                      Show the cabin in a browser, or draw a picture of it
  scenario                  Run programs against a server of their own, and judge them
  check                     Check what cabinaudio-server has played: tones, levels, ducking and more
  trace                     Show requests, replies, notifications and rings by name, live or of a capture
  replay                    Play one side of a recorded conversation, and compare the other side
  check-server              Check which rules of the protocol the running server keeps
  get                       Print settings as lines that set accepts
  set                       Change settings; nothing is changed if a name or value is wrong
  list                      List the settings, or find them by a word such as navigation
  describe                  Describe settings: range, unit, functions, an example
  monitor                   Print settings when they change, until Ctrl-C
  version                   Print the versions of library and server side by side
  doctor                    Check for causes of missing sound, and name the remedies
  server                    Send a command to a running cabinaudio-server

Exit status: 0 done, 1 failed, 2 wrong usage, 3 no server, 4 timed out,
5 a check was not met.
)";

}  // namespace

TEST(Tool, PrintsHelpWithoutAServer) {
    const Outcome result = runExpecting(0, {"--help"});
    EXPECT_EQ(result.out, HELP);
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_EQ(runTool({"-h"}).out, HELP);
}

TEST(Tool, PrintsItsVersionWithoutAServer) {
    const Outcome result = runExpecting(0, {"--version"});
    EXPECT_THAT(result.out,
                testing::MatchesRegex("cabinaudio " CABINAUDIO_VERSION "\n"
                                      "compiler        (GCC|.*[Cc]lang).* [0-9]+\\.[0-9].*\n"
                                      "libsndfile      [0-9]+\\.[0-9]+\\..*\n"));
    for (const char* library : {"\nlibFLAC         ", "\nlibogg ", "\nlibsbc ",
                                "\nlibarchive      ", "\nncurses         ", "\nnlohmann-json   3."})
        EXPECT_THAT(result.out, HasSubstr(library));
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_EQ(runExpecting(0, {"-V"}).out, result.out);
}

class SubCommand : public testing::TestWithParam<const char*> {};

TEST_P(SubCommand, PrintsHelpWithoutAServer) {
    for (const char* option : {"-h", "--help"}) {
        const Outcome result = runExpecting(0, {GetParam(), option});
        EXPECT_THAT(result.out, HasSubstr(std::string("Usage: cabinaudio ") + GetParam()));
        EXPECT_THAT(result.out, HasSubstr("--json"));
        EXPECT_THAT(result.err, IsEmpty());
    }
}

INSTANTIATE_TEST_SUITE_P(Any, SubCommand,
                         testing::Values("play", "record", "listen", "top", "view", "get", "set",
                                         "list", "describe", "monitor", "version", "doctor",
                                         "replay"),
                         [](const auto& test) { return wordsOf(test.param); });

class WrongCommandLine : public testing::TestWithParam<Refusal> {};

TEST_P(WrongCommandLine, EndsWithStatusTwoAndOneLine) {
    const Outcome result = runExpecting(2, GetParam().command.words);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, StartsWith("cabinaudio: " + GetParam().says));
    EXPECT_THAT(result.err, HasSubstr("--help')\n"));
    expectOneLine(result.err);
}

INSTANTIATE_TEST_SUITE_P(
    Any, WrongCommandLine,
    testing::Values(
        Refusal{"--nonsense", "unknown option '--nonsense'"},
        Refusal{"plai a.wav", "unknown sub-command 'plai'"},
        Refusal{"play --nonsense a.wav", "unknown option '--nonsense'"},
        Refusal{"play", "FILE is required"},
        Refusal{"play a.wav --tag uplink", "--tag: must be one of alternative"},
        Refusal{"play a.wav --tag Auxiliary", "--tag: must be one of"},
        Refusal{"play a.wav --name a/b", "--name: must not contain '/'"},
        Refusal{{"play", "a.wav", "--name", ""}, "--name: must have 1 to 63 characters"},
        Refusal{{"play", "a.wav", "--name", std::string(64, 'n')}, "--name: must have"},
        Refusal{"play a.wav --key-shift 1.21 --tag auxiliary",
                "--key-shift: must be a number from 0.8 to 1.2"},
        Refusal{"play a.wav --key-shift 1.1", "--key-shift does nothing on an alternative stream"},
        Refusal{"play a.wav --timeout soon", "--timeout: must be a number"},
        Refusal{"play a.wav --wait soon", "--wait: must be a number"},
        Refusal{"play a.wav --instance a.b", "--instance: must be 1 to 32 of"},
        Refusal{"play a.wav --key-shift 1.1 --tag main",
                "--key-shift does nothing on a main stream"},
        Refusal{"version surplus", "unknown argument 'surplus'"},
        Refusal{"doctor -x", "unknown option '-x'"}));

INSTANTIATE_TEST_SUITE_P(
    OfRecord, WrongCommandLine,
    testing::Values(
        Refusal{"record", "FILE is required"},
        Refusal{"record a.wav --nonsense", "unknown option '--nonsense'"},
        Refusal{"record a.wav --tag main", "--tag: must be one of input0"},
        Refusal{"record a.mp3", "cannot tell how to store pcm in 'a.mp3'; use FILE.wav"},
        Refusal{"record a", "cannot tell how to store pcm in 'a'"},
        Refusal{"record a.opus", "cannot tell how to store pcm in 'a.opus'"},
        Refusal{"record a.wav --tag uplink --codec opus",
                "cannot tell how to store opus in 'a.wav'; use FILE.opus"},
        Refusal{"record a.wav --tag uplink --codec aac",
                "cannot tell how to store aac in 'a.wav'; use FILE.loas"},
        Refusal{"record a.flac --format s32", "FLAC has 24 bits at most"},
        Refusal{"record a.wav --format float", "--format: must be one of s16, u8"},
        Refusal{"record a.wav --codec mp3", "--codec: must be one of pcm, opus"},
        Refusal{"record a.opus --codec opus", "--codec opus needs --tag uplink"},
        Refusal{"record a.opus --codec opus --tag uplink --rate 44100",
                "--codec opus goes with a --rate of 8000, 16000, 24000 or 48000"},
        Refusal{"record a.opus --codec opus --tag uplink --channels 3",
                "--codec opus has 2 channels at most"},
        Refusal{"record a.opus --codec opus --tag uplink --no-block",
                "--codec opus does not go with --no-block"},
        Refusal{"record a.wav --codec msbc --tag uplink --rate 8000",
                "--codec msbc is 16000 Hz in one channel"},
        Refusal{"record a.wav --tag uplink --volume 3", "an uplink has no --volume"},
        Refusal{"record a.wav --tag uplink --format u8",
                "the library's silence of an uplink is loud in this format; use --format s16"},
        Refusal{"record a.wav --tag uplink --format s24",
                "the library's silence of an uplink is loud in this format"},
        Refusal{"record a.wav --volume 101", "--volume: must be a number from 0 to 100"},
        Refusal{"record a.wav --seconds 0", "--seconds: must be a number from 0.001"},
        Refusal{"record a.wav --rate 7999", "--rate: must be a number from 8000"},
        Refusal{"record a.wav --channels 7", "--channels: must be a number from 1 to 6"}));

INSTANTIATE_TEST_SUITE_P(
    OfReplay, WrongCommandLine,
    testing::Values(Refusal{"replay", "FILE is required"},
                    Refusal{"replay a --as nobody", "--as: must be one of client, server"},
                    Refusal{"replay a --timing fast", "--timing: must be one of answered, kept"},
                    Refusal{"replay a --patience 0", "--patience: must be a number from 0.01"},
                    Refusal{"replay a --ignore nothing", "--ignore: there is no field 'nothing'"},
                    Refusal{"replay a --ignore duck.gain",
                            "--ignore: there is no field 'duck.gain'"},
                    Refusal{"replay a -- true", "an application needs --as server"}));

INSTANTIATE_TEST_SUITE_P(
    OfServer, WrongCommandLine,
    testing::Values(Refusal{"server", "A subcommand is required"},
                    Refusal{"server explode", "unknown argument 'explode'"},
                    Refusal{"server source", "A subcommand is required"},
                    Refusal{"server source activate", "NAME is required"},
                    Refusal{{"server", "source", "activate", ""}, "NAME: must have 1 to 63"},
                    Refusal{{"server", "stream", "remove", "a\nb"},
                            "NAME: must not contain a line end"},
                    Refusal{"server uplink ring", "A subcommand is required"},
                    Refusal{"server stall", "MS is required"},
                    Refusal{"server stall 0", "MS: must be a number from 1 to 60000"},
                    Refusal{"server crash now", "unknown argument 'now'"}));

INSTANTIATE_TEST_SUITE_P(
    OfSettings, WrongCommandLine,
    testing::Values(Refusal{"set", "NAME=VALUE or --file is required"},
                    Refusal{"describe", "NAME is required"},
                    Refusal{"monitor --interval 0", "--interval: must be a number from 1"},
                    Refusal{"monitor --count 0", "--count: must be a number from 1"},
                    Refusal{"get --timeout never", "--timeout: must be a number"},
                    Refusal{"list --nonsense", "unknown option '--nonsense'"}));

TEST(Tool, RequiresASubCommand) {
    const Outcome result = runExpecting(2, {});
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, HasSubstr("(try 'cabinaudio --help')\n"));
}

TEST(Tool, RefusesALogFileThatItCannotOpen) {
    const Outcome result = runExpecting(1, {"version", "--log", "/nonsense/log"});
    EXPECT_EQ(result.err,
              "cabinaudio: cannot open log file /nonsense/log: No such file or directory\n");
}

}  // namespace cabinaudio::test
