// SPDX-License-Identifier: Apache-2.0
// Results that cannot be printed: a full disk, a pipe that nobody reads.
#include "tests/support/BrokenOutput.h"
#include "tests/tools/ToolTest.h"

#include <algorithm>
#include <csignal>
#include <fstream>

namespace cabinaudio::test {

namespace {

constexpr char FULL[] = "cabinaudio: cannot write to standard output: No space left on device\n";
constexpr char BROKEN[] = "cabinaudio: cannot write to standard output: Broken pipe\n";

Outcome runOnFullDisk(const Words& arguments) {
    return runTool(arguments, {.inChild = printToFullDisk});
}

/// "SOUND" stands for the file.
Words wordsOfLine(const char* line, const std::string& sound) {
    Words words = CommandLine(line).words;
    std::replace(words.begin(), words.end(), std::string("SOUND"), sound);
    return words;
}

class FullDisk : public ToolTest {};
class EmptyInput : public ToolTest {};

}  // namespace

TEST_F(FullDisk, FailsEveryCommandWithOneLine) {
    serve({"--fast"});
    writeSound(file("sound.wav"), {.frames = 2400});
    for (const char* line :
         {"--help", "--version", "get --help", "get", "get --value volume.master", "get --json",
          "set --json volume.master=-1dB", "list", "list --names", "list --json",
          "describe volume.master", "describe --json fade", "version", "version --json",
          "server state", "server state --json", "server stall 1 --json", "play SOUND --json",
          "doctor --json"}) {
        const Outcome result = runOnFullDisk(wordsOfLine(line, file("sound.wav")));
        EXPECT_EQ(result.exitCode, 1) << line << '\n' << result.text();
        EXPECT_EQ(result.err, FULL) << line;
    }
}

TEST_F(FullDisk, FailsMonitorAtTheNextChange) {
    serve();
    ToolProcess monitor({"monitor", "volume.master", "--interval", "10"},
                        {.inChild = printToFullDisk});
    ASSERT_TRUE(monitor.waitForErr("watching 1 settings"));
    runExpecting(0, {"set", "volume.master=-5dB"});
    EXPECT_THAT(monitor.finishExpecting(1).err, testing::EndsWith(FULL));
}

TEST_F(FullDisk, FailsARecordingToStandardOutput) {
    serve({"--fast"});
    const Outcome result = runOnFullDisk({"record", "-", "--seconds", "0.1"});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_THAT(result.err, HasSubstr("No space left on device"));
    expectOneLine(result.err);
}

TEST_F(FullDisk, DoesNotHideAnotherStatus) {
    const Outcome result = runOnFullDisk({"get", "--json"});
    EXPECT_EQ(result.exitCode, 3) << result.text();
    EXPECT_THAT(result.err, StartsWith("cabinaudio: no server"));
    EXPECT_THAT(result.err, testing::EndsWith(FULL));
}

TEST(ClosedPipe, FailsACommandWithOneLineWhereItsSignalIsIgnored) {
    const RealServer server;
    for (const Words& words : {Words{"get"}, Words{"--help"}, Words{"list", "--json"}}) {
        const Outcome result =
            runExpecting(1, words, {.inChild = [] { printToClosedPipe(SIG_IGN); }});
        EXPECT_EQ(result.err, BROKEN);
    }
}

TEST(ClosedPipe, EndsACommandSilentlyByItsSignal) {
    if (toolIsEmulated()) GTEST_SKIP() << "the emulator has the signal";
    const RealServer server;
    const Outcome result = runTool({"get"}, {.inChild = [] { printToClosedPipe(SIG_DFL); }});
    EXPECT_EQ(result.signal, SIGPIPE) << result.text();
    EXPECT_THAT(result.err, IsEmpty());
}

TEST_F(EmptyInput, OfSetIsAFailure) {
    serve();
    const std::string empty = file("empty");
    for (const char* text : {"", "\n# volume.master=-3dB\n  \n"}) {
        std::ofstream(empty) << text;
        const Outcome fromFile =
            runExpecting(1, {"set", "volume.master=-1dB", "--file", empty, "--json"});
        EXPECT_EQ(fromFile.err,
                  "cabinaudio: file " + empty + " has no NAME=VALUE; nothing was set\n");
        EXPECT_EQ(json::parse(fromFile.out)["ended"], "failed");
        const Outcome fromInput = runExpecting(1, {"set", "-"}, {.input = empty});
        EXPECT_EQ(fromInput.err, "cabinaudio: standard input has no NAME=VALUE; nothing was set\n");
    }
    EXPECT_EQ(runTool({"get", "--value", "volume.master"}).out, "0dB\n");
}

TEST_F(EmptyInput, OfADirectoryIsAFailure) {
    EXPECT_EQ(runExpecting(1, {"set", "--file", "/"}).err,
              "cabinaudio: cannot read file /: Is a directory; nothing was set\n");
}

}  // namespace cabinaudio::test
