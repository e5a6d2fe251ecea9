// SPDX-License-Identifier: Apache-2.0
// The launcher and the programs that it starts.
#include "tests/board/Launcher.h"
#include "tests/support/BrokenOutput.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/ProcessState.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>

namespace cabinaudio::test {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class Launcher : public WithTheLauncher {};

// ---- Manners ------------------------------------------------------------------------------------

TEST_F(Launcher, PrintsHelpAndVersion) {
    for (const char* option : {"-h", "--help"}) {
        const Outcome helped = launchExpecting(0, {option});
        EXPECT_THAT(helped.out, StartsWith("Usage: cabinaudio-run"));
        EXPECT_EQ(helped.err, "");
    }
    for (const char* option : {"-V", "--version"})
        EXPECT_THAT(launchExpecting(0, {option}).out,
                    AllOf(StartsWith("cabinaudio-run "), IsOneLine()));
}

TEST_F(Launcher, FailsWhenHelpAndVersionCannotBePrinted) {
    for (const char* option : {"--help", "--version"}) {
        Start start = launching({option});
        start.inChild = printToFullDisk;
        EXPECT_EQ(Process(start).finishExpecting(1).err,
                  "cabinaudio-run: cannot write to standard output: No space left on device\n");
    }
}

TEST_F(Launcher, RefusesWrongUsageWithAHint) {
    const std::vector<Words> wrong{{},
                                   {"--"},
                                   {"--nonsense", PROBE},
                                   {"-x", PROBE},
                                   {"-vx", PROBE},
                                   {"-i"},
                                   {"--instance"},
                                   {"-i", "a.b", PROBE},
                                   {"-i", "", PROBE},
                                   {"-i", "a", "--private", PROBE},
                                   {"--timeout", "0", PROBE},
                                   {"--timeout", "1s", PROBE},
                                   {"--config-dir", "", PROBE},
                                   {"--wait", "soon", PROBE},
                                   {"--wait", "-1", PROBE},
                                   {"--trace", "", PROBE},
                                   {"--trace"},
                                   {"--trace-sound", PROBE},
                                   {"--no-board", PROBE},
                                   {"--trace", "f", "--no-board", "--private", PROBE},
                                   {"--trace", "f", "--no-board", "-i", "a", PROBE},
                                   {"--trace", "f", "--clean"},
                                   {"--clean", PROBE},
                                   {"--clean", "--private"},
                                   {"--private=yes", PROBE}};
    for (const auto& words : wrong) {
        const Outcome refused = launch(words);
        const std::string shown = ::testing::PrintToString(words);
        EXPECT_EQ(refused.exitCode, 2) << shown;
        EXPECT_THAT(refused.err, AllOf(IsOneLine(), HasSubstr("--help"))) << shown;
        EXPECT_EQ(refused.out, "") << shown;
    }
}

TEST_F(Launcher, NamesAnUnknownOption) {
    EXPECT_THAT(launch({"--nonsense"}).err, HasSubstr("'--nonsense'"));
    EXPECT_THAT(launch({"-vx"}).err, HasSubstr("'-x'"));
}

TEST_F(Launcher, IsSilentUnlessAsked) {
    EXPECT_EQ(launch({PROBE, "exit", "0"}).err, "");
    EXPECT_THAT(launch({"-v", PROBE, "exit", "0"}).err,
                AllOf(IsOneLine(), HasSubstr(mInstance.name())));
}

// ---- Waiting for a server -----------------------------------------------------------------------

TEST_F(Launcher, WaitsForAServer) {
    Process program(launching({"--wait", "60", PROBE, "exit", "7"}));
    const server::UniqueFd socket = listenAt("/tmp/as_internal_file." + mInstance.name());
    const Outcome ended = program.finish();
    EXPECT_EQ(ended.exitCode, 7) << ended.text();
    EXPECT_TRUE(isReadable(socket.get(), 0));
}

TEST_F(Launcher, DoesNotStartTheProgramWhenNoServerCame) {
    const Outcome late = launchExpecting(4, {"--wait", "0.05", PROBE, "exit", "0"});
    EXPECT_EQ(late.err, "cabinaudio-run: timed out waiting for a server of instance '" +
                            mInstance.name() + "'\n");
    EXPECT_GE(late.took, std::chrono::milliseconds(50));
}

// ---- The program's own --------------------------------------------------------------------------

TEST_F(Launcher, PassesTheExitStatusOn) {
    for (const int status : {0, 1, 2, 3, 42, 126, 127, 255})
        EXPECT_EQ(launch({PROBE, "exit", std::to_string(status)}).exitCode, status);
}

TEST_F(Launcher, LetsTheProgramEndByItsSignals) {
    for (const int number : {SIGTERM, SIGINT, SIGKILL, SIGUSR1})
        EXPECT_EQ(launch({PROBE, "raise", std::to_string(number)}).signal, number);
}

TEST_F(Launcher, RunsTheProgramInItsOwnProcess) {
    const Outcome outcome = launch({PROBE, "pid"});
    EXPECT_EQ(outcome.out, std::to_string(outcome.pid) + "\n");
}

TEST_F(Launcher, PassesArgumentsUnchanged) {
    const Words arguments{"a b",    "",   "$HOME", "'q'", "\"", "*",
                          "--help", "-v", "--",    "-i",  "\n", "\xff"};
    Words words{"--", PROBE, "words"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::string expected;
    for (const std::string& argument : arguments)
        expected += "[" + argument + "]\n";
    EXPECT_EQ(launch(words).out, expected);
}

TEST_F(Launcher, TakesOptionsOnlyBeforeTheProgram) {
    EXPECT_EQ(launch({PROBE, "words", "--private", "-h"}).out, "[--private]\n[-h]\n");
}

/// A program's report of its start without the variables of the stand-in.
std::string reportOf(const Start& start) {
    std::string report = runProgram(start).out;
    for (const char* own : {"variable: LD_PRELOAD=", "variable: CABINAUDIO_INSTANCE="}) {
        const std::size_t begin = report.find(own);
        if (begin != std::string::npos) report.erase(begin, report.find('\n', begin) + 1 - begin);
    }
    return report;
}

class LaunchedProgram : public WithTheLauncher {
protected:
    void expectTheSameStart(const std::function<void()>& inChild) const {
        Start launched = launching({PROBE, "report"});
        launched.directory = directory();
        launched.inChild = inChild;
        Start direct = launched;
        direct.words.erase(direct.words.begin());
        const std::string report = reportOf(direct);
        EXPECT_NE(report.find("children: none"), std::string::npos) << report;
        EXPECT_EQ(reportOf(launched), report);
    }
};

TEST_F(LaunchedProgram, StartsAsWithoutTheLauncher) {
    expectTheSameStart({});
}

TEST_F(LaunchedProgram, InheritsClosedStreams) {
    expectTheSameStart([] {
        close(STDIN_FILENO);
        close(STDERR_FILENO);
    });
}

TEST_F(LaunchedProgram, InheritsItsSignals) {
    expectTheSameStart([] {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_BLOCK, &all, nullptr);
        signal(SIGPIPE, SIG_IGN);
        signal(SIGHUP, SIG_IGN);
    });
}

TEST_F(LaunchedProgram, InheritsIgnoredChildSignals) {
    expectTheSameStart([] { signal(SIGCHLD, SIG_IGN); });
}

TEST_F(LaunchedProgram, OutputEndsWithTheProgram) {
    Start start = launching({"--private", PROBE, "exit", "0"});
    Process program(start);
    EXPECT_EQ(program.readLine(), "");  // comes with the end of the stream
    EXPECT_EQ(program.finish().exitCode, 0);
}

// Its library's constructor may run before the stand-in's.
TEST_F(LaunchedProgram, UsesTheBoardInAConstructorOfALibrary) {
    const Outcome outcome = launch({BOARD_TEST_EAGER_PROBE, "find-object", "made-early"});
    EXPECT_EQ(outcome.out, "there\n") << outcome.err;
    EXPECT_TRUE(fs::exists(mInstance.objectFile("made-early")));
}

TEST_F(LaunchedProgram, SharesNothingBeforeItsEnvironmentIsKnown) {
    const Outcome outcome = launch({PROBE, "early"});
    EXPECT_EQ(outcome.out, "refused\n");
    EXPECT_EQ(outcome.err, "libcabinaudio-board.so: CABINAUDIO_INSTANCE=? cannot be read yet\n");
}

TEST_F(LaunchedProgram, UsesTheGivenConfigurationDirectory) {
    Start start = launching({"--config-dir", "a b", PROBE, "check"});
    start.directory = directory();
    const Outcome outcome = runProgram(start);
    EXPECT_EQ(outcome.out, "ok\n") << outcome.err;
    EXPECT_TRUE(fs::exists(directory() / "a b" / "audio_config"));
}

// ---- Scripts ------------------------------------------------------------------------------------

class Script : public WithTheLauncher {
protected:
    fs::path write(const std::string& name, const std::string& text) const {
        fs::path path = directory() / name;
        writeScript(path, text);
        return path;
    }
};

TEST_F(Script, PassesTheStandInToItsChildren) {
    const fs::path script =
        write("my script", "#!/bin/sh\n\"" + std::string(PROBE) + "\" check && exit 5\n");
    EXPECT_EQ(launchExpecting(5, {script}).out, "ok\n");
}

TEST_F(Script, RunsAsTheInterpreterOfAnother) {
    const fs::path inner = write("inner", "#!/bin/sh -e\necho \"$@\"\nexit 6\n");
    const fs::path outer = write("outer", "#! " + inner.string() + " word \n");
    EXPECT_EQ(launchExpecting(6, {outer, "argument"}).out,
              "word " + outer.string() + " argument\n");
}

TEST_F(Script, WithoutAnInterpreterIsNotExecutable) {
    const std::string cutProgram{0x7f, 'E', 'L', 'F'};
    for (const std::string& text : {std::string("#!/no/such/interpreter\n"), std::string("echo\n"),
                                    std::string(), std::string("#!\n"), cutProgram}) {
        const Outcome outcome = launch({write("broken", text)});
        EXPECT_EQ(outcome.exitCode, 126) << text;
        EXPECT_THAT(outcome.err, IsOneLine());
    }
}

TEST_F(Script, ThatInterpretsItselfIsNotExecutable) {
    const fs::path path = directory() / "circle";
    EXPECT_THAT(launchExpecting(126, {write("circle", "#!" + path.string() + "\n")}).err,
                IsOneLine());
}

// ---- Finding the program ------------------------------------------------------------------------

TEST_F(Launcher, FindsTheProgramInPath) {
    Start start = launching({"probe", "exit", "9"});
    start.variables.emplace_back("PATH", "/nowhere:" + fs::path(PROBE).parent_path().string());
    EXPECT_EQ(runProgram(start).exitCode, 9);
}

TEST_F(Launcher, ReturnsTheStatusOfAShellWhenThereIsNoProgram) {
    EXPECT_EQ(launch({"no-such-program-anywhere"}).exitCode, 127);
    EXPECT_EQ(launch({""}).exitCode, 127);
    EXPECT_EQ(launch({directory()}).exitCode, 126);
    std::ofstream(directory() / "file") << "text";
    EXPECT_EQ(launch({directory() / "file"}).exitCode, 126);
    EXPECT_THAT(launchExpecting(127, {"/no/such/program"}).err, IsOneLine());
}

// ---- Instances ----------------------------------------------------------------------------------

class TwoInstances : public WithTheLauncher {
protected:
    std::string say(const OwnInstance& instance, Words words) const {
        words.insert(words.begin(), {"-i", instance.name(), PROBE});
        return launch(words).out;
    }

    OwnInstance mOne;
    OwnInstance mOther;
};

TEST_F(TwoInstances, HaveMemoriesOfTheirOwn) {
    EXPECT_EQ(launch({"-i", mOne.name(), PROBE, "put-memory", "0x7e000000", "77"}).exitCode, 0);
    EXPECT_EQ(say(mOne, {"get-memory", "0x7e000000"}), "77\n");
    EXPECT_EQ(say(mOther, {"get-memory", "0x7e000000"}), "0\n");
}

TEST_F(TwoInstances, HaveObjectsOfTheirOwn) {
    EXPECT_EQ(launch({"-i", mOne.name(), PROBE, "make-object", "ring"}).exitCode, 0);
    EXPECT_EQ(say(mOne, {"find-object", "ring"}), "there\n");
    EXPECT_EQ(say(mOther, {"find-object", "ring"}), "not there\n");
}

TEST_F(TwoInstances, HaveServersOfTheirOwn) {
    Process server(launching({"-i", mOne.name(), PROBE, "serve"}));
    ASSERT_EQ(server.readLine(), "listening");
    EXPECT_EQ(say(mOne, {"call"}), "connected\n");
    EXPECT_EQ(say(mOne, {"serve"}), "taken\n");
    EXPECT_EQ(say(mOther, {"call"}), "refused\n");
    Process second(launching({"-i", mOther.name(), PROBE, "serve"}));
    EXPECT_EQ(second.readLine(), "listening");
    EXPECT_EQ(second.finish().exitCode, 0);
    EXPECT_EQ(server.finish().exitCode, 0);
}

TEST_F(TwoInstances, ComeFromTheEnvironmentAndTheOption) {
    EXPECT_EQ(launch({PROBE, "make-object", "ring"}).exitCode, 0);
    EXPECT_TRUE(fs::exists(mInstance.objectFile("ring")));
    EXPECT_EQ(say(mOne, {"find-object", "ring"}), "not there\n");
}

TEST_F(TwoInstances, RefuseAWrongNameInTheEnvironment) {
    Start start = launching({PROBE, "touch", directory() / "ran"});
    start.variables[0].second = "not/allowed";
    EXPECT_THAT(Process(start).finishExpecting(1).err, IsOneLine());
    EXPECT_FALSE(fs::exists(directory() / "ran"));
}

TEST_F(TwoInstances, AreCleanedOneByOne) {
    for (const OwnInstance* instance : {&mOne, &mOther}) {
        say(*instance, {"put-memory", "0", "1"});
        say(*instance, {"make-object", "ring"});
    }
    const fs::path otherPlace = mOne.memoryFile().native() + ".63";
    std::ofstream(otherPlace) << "memory";
    const Outcome cleaned = launchExpecting(0, {"-i", mOne.name(), "--clean"});
    EXPECT_EQ(cleaned.out + cleaned.err, "");
    EXPECT_FALSE(fs::exists(mOne.memoryFile()));
    EXPECT_FALSE(fs::exists(otherPlace));
    EXPECT_FALSE(fs::exists(mOne.objectFile("ring")));
    EXPECT_TRUE(fs::exists(mOther.memoryFile()));
    EXPECT_TRUE(fs::exists(mOther.objectFile("ring")));
}

// ---- Private instances --------------------------------------------------------------------------

class PrivateInstance : public WithTheLauncher {
protected:
    /// Its name in a run of its own.
    std::string nameOfARun() const {
        return variableIn(launch({"--private", PROBE, "report"}).out, "CABINAUDIO_INSTANCE");
    }

    static bool leftIn(const fs::path& directory, const std::string& name) {
        return std::any_of(fs::directory_iterator(directory), {}, [&](const auto& entry) {
            return entry.path().filename().native().find(name) != std::string::npos;
        });
    }

    /// The cleaner is no child of ours: only the files tell that it is done.
    static bool isGoneInTime(const fs::path& directory, const std::string& name) {
        return eventually([&] { return !leftIn(directory, name); }, std::chrono::minutes(1));
    }
};

TEST_F(PrivateInstance, HasANewNameInEachRun) {
    const std::string first = nameOfARun();
    const std::string second = nameOfARun();
    EXPECT_EQ(first.rfind("run-", 0), 0U) << first;
    EXPECT_NE(first, second);
}

TEST_F(PrivateInstance, IsRemovedWithTheEndOfTheProgram) {
    const fs::path script = directory() / "script";
    writeScript(script,
                "#!/bin/sh\n\"$1\" put-memory 0 1\n\"$1\" make-object ring\n"
                "\"$1\" check >&2\necho $CABINAUDIO_INSTANCE\nread end\n");
    Process program(launching({"--private", script, PROBE}));
    const std::string name = program.readLine();
    const fs::path configuration = home() / ".config" / "cabinaudio";
    EXPECT_TRUE(leftIn("/dev/shm", name)) << name;
    EXPECT_TRUE(leftIn(configuration, name));
    EXPECT_EQ(program.finish().err, "ok\n");
    EXPECT_TRUE(isGoneInTime("/dev/shm", name));
    EXPECT_TRUE(isGoneInTime(configuration, name));
}

}  // namespace
}  // namespace cabinaudio::test
