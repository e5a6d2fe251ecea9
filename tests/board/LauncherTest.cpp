// SPDX-License-Identifier: Apache-2.0
// What the launcher does for a program that it starts.
#include "tests/board/Launcher.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>

namespace cabinaudio::test {
namespace {

namespace fs = std::filesystem;

class TheLauncher : public WithTheLauncher {};

// ---- manners ------------------------------------------------------------------

TEST_F(TheLauncher, HelpsAndTellsItsVersion) {
    for (const char* option : {"-h", "--help"}) {
        const Outcome helped = launch({option});
        EXPECT_EQ(helped.exitCode, 0);
        EXPECT_EQ(helped.out.rfind("Usage: cabinaudio-run", 0), 0U) << helped.out;
        EXPECT_EQ(helped.err, "");
    }
    const Outcome version = launch({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out.rfind("cabinaudio-run ", 0), 0U);
    EXPECT_TRUE(isOneLine(version.out));
}

TEST_F(TheLauncher, RefusesWrongUsageWithAHint) {
    const std::vector<std::vector<std::string>> wrong{{},
                                                      {"--"},
                                                      {"--nonsense", kProbe},
                                                      {"-x", kProbe},
                                                      {"-vx", kProbe},
                                                      {"-i"},
                                                      {"--instance"},
                                                      {"-i", "a.b", kProbe},
                                                      {"-i", "", kProbe},
                                                      {"-i", "a", "--private", kProbe},
                                                      {"--timeout", "0", kProbe},
                                                      {"--timeout", "1s", kProbe},
                                                      {"--config-dir", "", kProbe},
                                                      {"--clean", kProbe},
                                                      {"--clean", "--private"},
                                                      {"--private=yes", kProbe}};
    for (const auto& words : wrong) {
        const Outcome refused = launch(words);
        const std::string shown = ::testing::PrintToString(words);
        EXPECT_EQ(refused.exitCode, 2) << shown;
        EXPECT_TRUE(isOneLine(refused.err)) << shown << refused.err;
        EXPECT_NE(refused.err.find("--help"), std::string::npos) << shown << refused.err;
        EXPECT_EQ(refused.out, "") << shown;
    }
}

TEST_F(TheLauncher, NamesTheOptionThatItDoesNotKnow) {
    EXPECT_NE(launch({"--nonsense"}).err.find("'--nonsense'"), std::string::npos);
    EXPECT_NE(launch({"-vx"}).err.find("'-x'"), std::string::npos);
}

TEST_F(TheLauncher, IsSilentUnlessAsked) {
    const Outcome silent = launch({kProbe, "exit", "0"});
    EXPECT_EQ(silent.err, "");
    const Outcome verbose = launch({"-v", kProbe, "exit", "0"});
    EXPECT_TRUE(isOneLine(verbose.err)) << verbose.err;
    EXPECT_NE(verbose.err.find(mInstance.name()), std::string::npos) << verbose.err;
}

// ---- the program's own --------------------------------------------------------

TEST_F(TheLauncher, PassesTheExitStatusOn) {
    for (const int status : {0, 1, 2, 3, 42, 126, 127, 255}) {
        EXPECT_EQ(launch({kProbe, "exit", std::to_string(status)}).exitCode, status);
    }
}

TEST_F(TheLauncher, LetsTheProgramEndByItsSignals) {
    for (const int number : {SIGTERM, SIGINT, SIGKILL, SIGUSR1}) {
        EXPECT_EQ(launch({kProbe, "raise", std::to_string(number)}).signal, number);
    }
}

TEST_F(TheLauncher, IsTheProgramsOwnProcess) {
    const Outcome outcome = launch({kProbe, "pid"});
    EXPECT_EQ(outcome.out, std::to_string(outcome.pid) + "\n");
}

TEST_F(TheLauncher, PassesArgumentsOnToTheLetter) {
    const std::vector<std::string> arguments{"a b",    "",   "$HOME", "'q'", "\"", "*",
                                             "--help", "-v", "--",    "-i",  "\n", "\xff"};
    std::vector<std::string> words{"--", kProbe, "words"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::string expected;
    for (const std::string& argument : arguments) {
        expected += "[" + argument + "]\n";
    }
    EXPECT_EQ(launch(words).out, expected);
}

TEST_F(TheLauncher, TakesOptionsOnlyBeforeTheProgram) {
    EXPECT_EQ(launch({kProbe, "words", "--private", "-h"}).out, "[--private]\n[-h]\n");
}

// Everything that a program can see of its start, but the variables that steer the stand-in.
std::string reportOf(const Start& start) {
    std::string report = runProgram(start).out;
    for (const char* own : {"variable: LD_PRELOAD=", "variable: CABINAUDIO_INSTANCE="}) {
        const std::size_t begin = report.find(own);
        if (begin != std::string::npos) {
            report.erase(begin, report.find('\n', begin) + 1 - begin);
        }
    }
    return report;
}

class TheProgram : public WithTheLauncher {
protected:
    void expectTheSameStart(const std::function<void()>& inChild) const {
        Start launched = launching({kProbe, "report"});
        launched.directory = directory();
        launched.inChild = inChild;
        Start direct = launched;
        direct.words.erase(direct.words.begin());
        const std::string report = reportOf(direct);
        EXPECT_NE(report.find("children: none"), std::string::npos) << report;
        EXPECT_EQ(reportOf(launched), report);
    }
};

TEST_F(TheProgram, FindsItselfAsIfStartedWithoutTheLauncher) {
    expectTheSameStart({});
}

TEST_F(TheProgram, FindsClosedStreamsClosed) {
    expectTheSameStart([] {
        close(STDIN_FILENO);
        close(STDERR_FILENO);
    });
}

TEST_F(TheProgram, FindsItsSignalsAsTheyWere) {
    expectTheSameStart([] {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_BLOCK, &all, nullptr);
        signal(SIGPIPE, SIG_IGN);
        signal(SIGHUP, SIG_IGN);
    });
}

TEST_F(TheProgram, FindsChildrensEndsIgnoredIfTheyWere) {
    expectTheSameStart([] { signal(SIGCHLD, SIG_IGN); });
}

TEST_F(TheProgram, HasItsOutputEndWithItself) {
    Start start = launching({"--private", kProbe, "exit", "0"});
    Process program(start);
    EXPECT_EQ(program.readLine(), "");  // comes with the end of the stream
    EXPECT_EQ(program.finish().exitCode, 0);
}

// Its library's constructor may run before the stand-in's.
TEST_F(TheProgram, MayUseTheBoardInAConstructorOfALibrary) {
    const Outcome outcome = launch({BOARD_TEST_EAGER_PROBE, "find-object", "made-early"});
    EXPECT_EQ(outcome.out, "there\n") << outcome.err;
    EXPECT_TRUE(fs::exists(mInstance.objectFile("made-early")));
}

TEST_F(TheProgram, SharesNothingAsLongAsItsEnvironmentIsNotKnown) {
    const Outcome outcome = launch({kProbe, "early"});
    EXPECT_EQ(outcome.out, "refused\n");
    EXPECT_EQ(outcome.err, "libcabinaudio-board.so: CABINAUDIO_INSTANCE=? cannot be read yet\n");
}

TEST_F(TheProgram, FindsTheConfigurationInTheDirectoryGiven) {
    Start start = launching({"--config-dir", "a b", kProbe, "check"});
    start.directory = directory();
    const Outcome outcome = runProgram(start);
    EXPECT_EQ(outcome.out, "ok\n") << outcome.err;
    EXPECT_TRUE(fs::exists(directory() / "a b" / "audio_config"));
}

// ---- scripts ------------------------------------------------------------------

class AScript : public WithTheLauncher {
protected:
    fs::path write(const std::string& name, const std::string& text) const {
        fs::path path = directory() / name;
        std::ofstream(path) << text;
        fs::permissions(path, fs::perms(0755));
        return path;
    }
};

TEST_F(AScript, HandsTheStandInToItsChildren) {
    const fs::path script =
        write("my script", "#!/bin/sh\n\"" + std::string(kProbe) + "\" check && exit 5\n");
    const Outcome outcome = launch({script});
    EXPECT_EQ(outcome.out, "ok\n") << outcome.err;
    EXPECT_EQ(outcome.exitCode, 5);
}

TEST_F(AScript, MayBeTheInterpreterOfAnother) {
    const fs::path inner = write("inner", "#!/bin/sh -e\necho \"$@\"\nexit 6\n");
    const fs::path outer = write("outer", "#! " + inner.string() + " word \n");
    const Outcome outcome = launch({outer, "argument"});
    EXPECT_EQ(outcome.out, "word " + outer.string() + " argument\n") << outcome.err;
    EXPECT_EQ(outcome.exitCode, 6);
}

TEST_F(AScript, WithoutAnInterpreterIsNotExecutable) {
    const std::string cutProgram{0x7f, 'E', 'L', 'F'};
    for (const std::string& text : {std::string("#!/no/such/interpreter\n"), std::string("echo\n"),
                                    std::string(), std::string("#!\n"), cutProgram}) {
        const Outcome outcome = launch({write("broken", text)});
        EXPECT_EQ(outcome.exitCode, 126) << text;
        EXPECT_TRUE(isOneLine(outcome.err)) << outcome.err;
    }
}

TEST_F(AScript, ThatInterpretsItselfIsNotExecutable) {
    const fs::path path = directory() / "circle";
    const Outcome outcome = launch({write("circle", "#!" + path.string() + "\n")});
    EXPECT_EQ(outcome.exitCode, 126);
    EXPECT_TRUE(isOneLine(outcome.err)) << outcome.err;
}

// ---- finding the program ------------------------------------------------------

TEST_F(TheLauncher, FindsTheProgramInPath) {
    Start start = launching({"probe", "exit", "9"});
    start.variables.emplace_back("PATH", "/nowhere:" + fs::path(kProbe).parent_path().string());
    EXPECT_EQ(runProgram(start).exitCode, 9);
}

TEST_F(TheLauncher, EndsAsAShellDoesWhereThereIsNoProgram) {
    EXPECT_EQ(launch({"no-such-program-anywhere"}).exitCode, 127);
    EXPECT_EQ(launch({"/no/such/program"}).exitCode, 127);
    EXPECT_EQ(launch({""}).exitCode, 127);
    EXPECT_EQ(launch({directory()}).exitCode, 126);
    std::ofstream(directory() / "file") << "text";
    EXPECT_EQ(launch({directory() / "file"}).exitCode, 126);
    const Outcome outcome = launch({"/no/such/program"});
    EXPECT_TRUE(isOneLine(outcome.err)) << outcome.err;
}

// ---- instances ----------------------------------------------------------------

class TwoInstances : public WithTheLauncher {
protected:
    std::string say(const OwnInstance& instance, std::vector<std::string> words) const {
        words.insert(words.begin(), {"-i", instance.name(), kProbe});
        return launch(words).out;
    }

    OwnInstance mOne;
    OwnInstance mOther;
};

TEST_F(TwoInstances, HaveMemoriesOfTheirOwn) {
    EXPECT_EQ(launch({"-i", mOne.name(), kProbe, "put-memory", "0x7e000000", "77"}).exitCode, 0);
    EXPECT_EQ(say(mOne, {"get-memory", "0x7e000000"}), "77\n");
    EXPECT_EQ(say(mOther, {"get-memory", "0x7e000000"}), "0\n");
}

TEST_F(TwoInstances, HaveObjectsOfTheirOwn) {
    EXPECT_EQ(launch({"-i", mOne.name(), kProbe, "make-object", "ring"}).exitCode, 0);
    EXPECT_EQ(say(mOne, {"find-object", "ring"}), "there\n");
    EXPECT_EQ(say(mOther, {"find-object", "ring"}), "not there\n");
}

TEST_F(TwoInstances, HaveServersOfTheirOwn) {
    Process server(launching({"-i", mOne.name(), kProbe, "serve"}));
    ASSERT_EQ(server.readLine(), "listening");
    EXPECT_EQ(say(mOne, {"call"}), "connected\n");
    EXPECT_EQ(say(mOne, {"serve"}), "taken\n");
    EXPECT_EQ(say(mOther, {"call"}), "refused\n");
    Process second(launching({"-i", mOther.name(), kProbe, "serve"}));
    EXPECT_EQ(second.readLine(), "listening");
    EXPECT_EQ(second.finish().exitCode, 0);
    EXPECT_EQ(server.finish().exitCode, 0);
}

TEST_F(TwoInstances, MayComeFromTheEnvironmentAndTheOption) {
    EXPECT_EQ(launch({kProbe, "make-object", "ring"}).exitCode, 0);
    EXPECT_TRUE(fs::exists(mInstance.objectFile("ring")));
    EXPECT_EQ(say(mOne, {"find-object", "ring"}), "not there\n");
}

TEST_F(TwoInstances, AreNotMixedUpByAWrongNameInTheEnvironment) {
    Start start = launching({kProbe, "touch", directory() / "ran"});
    start.variables[0].second = "not/allowed";
    const Outcome outcome = runProgram(start);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(isOneLine(outcome.err)) << outcome.err;
    EXPECT_FALSE(fs::exists(directory() / "ran"));
}

TEST_F(TwoInstances, AreCleanedOneByOne) {
    for (const OwnInstance* instance : {&mOne, &mOther}) {
        say(*instance, {"put-memory", "0", "1"});
        say(*instance, {"make-object", "ring"});
    }
    const fs::path otherPlace = mOne.memoryFile().native() + ".63";
    std::ofstream(otherPlace) << "memory";
    const Outcome cleaned = launch({"-i", mOne.name(), "--clean"});
    EXPECT_EQ(cleaned.exitCode, 0);
    EXPECT_EQ(cleaned.out + cleaned.err, "");
    EXPECT_FALSE(fs::exists(mOne.memoryFile()));
    EXPECT_FALSE(fs::exists(otherPlace));
    EXPECT_FALSE(fs::exists(mOne.objectFile("ring")));
    EXPECT_TRUE(fs::exists(mOther.memoryFile()));
    EXPECT_TRUE(fs::exists(mOther.objectFile("ring")));
}

// ---- private instances --------------------------------------------------------

class APrivateInstance : public WithTheLauncher {
protected:
    // "variable: CABINAUDIO_INSTANCE=run-..." out of the program's report.
    static std::string nameIn(const std::string& report) {
        const std::string variable = "variable: CABINAUDIO_INSTANCE=";
        const std::size_t begin = report.find(variable) + variable.size();
        return report.substr(begin, report.find('\n', begin) - begin);
    }

    static bool leftIn(const fs::path& directory, const std::string& name) {
        return std::any_of(fs::directory_iterator(directory), {}, [&](const auto& entry) {
            return entry.path().filename().native().find(name) != std::string::npos;
        });
    }

    // The cleaner is no child of ours: only the files tell that it is done.
    static bool isGoneInTime(const fs::path& directory, const std::string& name) {
        for (int i = 0; i < 6000 && leftIn(directory, name); ++i) {
            usleep(10000);
        }
        return !leftIn(directory, name);
    }
};

TEST_F(APrivateInstance, IsAnotherOneInEachRun) {
    const std::string first = nameIn(launch({"--private", kProbe, "report"}).out);
    const std::string second = nameIn(launch({"--private", kProbe, "report"}).out);
    EXPECT_EQ(first.rfind("run-", 0), 0U) << first;
    EXPECT_NE(first, second);
}

TEST_F(APrivateInstance, IsRemovedWithTheEndOfTheProgram) {
    const fs::path script = directory() / "script";
    std::ofstream(script) << "#!/bin/sh\n\"$1\" put-memory 0 1\n\"$1\" make-object ring\n"
                             "\"$1\" check >&2\necho $CABINAUDIO_INSTANCE\nread end\n";
    fs::permissions(script, fs::perms(0755));
    Process program(launching({"--private", script, kProbe}));
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
