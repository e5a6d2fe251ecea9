// SPDX-License-Identifier: Apache-2.0
// The stand-in is loaded into programs of every kind, and no program runs without it.
#include "tests/board/Launcher.h"
#include "tests/support/Row.h"
#include "tests/support/UserProcess.h"

#include <elf.h>
#include <grp.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>

namespace cabinaudio::test {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;

// ---- Programs of every kind ---------------------------------------------------------------------

struct Kind : Row {
    const char* program;
    const char* library;  // for a foreign machine, else ""
};

class Program : public WithTheLauncher, public ::testing::WithParamInterface<Kind> {
protected:
    Start start(Words words) const {
        words.insert(words.begin(), GetParam().program);
        Start started = launching(words);
        started.variables.emplace_back("CABINAUDIO_ARMHF_BOARD_LIB", GetParam().library);
        // Leaks cannot be looked for where the emulator or a tracer stands in between.
        started.variables.emplace_back("ASAN_OPTIONS", "detect_leaks=0");
        return started;
    }
};

INSTANTIATE_TEST_SUITE_P(BuiltAs, Program,
                         ::testing::ValuesIn(std::vector<Kind>{{"Plain", BOARD_TEST_PROBE, ""},
                                                               BOARD_TEST_KINDS}),
                         ROW_NAME);

TEST_P(Program, FindsTheWholeBoardUnderTheLauncher) {
    const Outcome outcome = Process(start({"check"})).finishExpecting(0);
    EXPECT_EQ(outcome.out, "ok\n");
    EXPECT_EQ(outcome.err, "");
}

TEST_P(Program, KeepsItsExitStatusAndItsSignals) {
    EXPECT_EQ(runProgram(start({"exit", "17"})).exitCode, 17);
    EXPECT_EQ(runProgram(start({"raise", std::to_string(SIGTERM)})).signal, SIGTERM);
}

TEST_P(Program, KeepsItsArgumentsAndItsName) {
    EXPECT_EQ(runProgram(start({"words", "a b", "$c", ",:"})).out, "[a b]\n[$c]\n[,:]\n");
    const std::string report = runProgram(start({"report"})).out;
    EXPECT_NE(report.find("name: " + std::string(GetParam().program) + "\n"), std::string::npos);
    EXPECT_EQ(report.find("CABINAUDIO_HANDSHAKE"), std::string::npos) << report;
}

TEST_P(Program, RunsWithLibraryPathsThatTheLoaderWouldMisread) {
    const fs::path odd = directory() / "a b:$LIB,c";
    fs::create_directory(odd);
    const char* library = GetParam().library;
    const fs::path source = *library != '\0' ? library : BOARD_TEST_LIBRARY;
    fs::copy_file(source, odd / "libcabinaudio-board.so");
    fs::copy_file(GetParam().program, odd / "the program");
    Start started = start({"check"});
    started.words = {mLauncher, "--board-lib", odd / "libcabinaudio-board.so", odd / "the program",
                     "check"};
    const Outcome outcome = runProgram(started);
    EXPECT_EQ(outcome.out, "ok\n") << outcome.err;
    EXPECT_EQ(outcome.err, "");
    fs::remove_all(odd);
    launch({"--clean"});  // takes the links that lead nowhere
    EXPECT_FALSE(std::any_of(fs::directory_iterator(directory()), {}, [](const auto& entry) {
        return entry.path().filename().native().rfind("cabinaudio-run-", 0) == 0;
    }));
}

class LinkedProgram : public Program {};

INSTANTIATE_TEST_SUITE_P(BuiltAs, LinkedProgram,
                         ::testing::ValuesIn(std::vector<Kind>{
                             {"Plain", BOARD_TEST_LINKED_PROBE, ""}, BOARD_TEST_LINKED_KINDS}),
                         ROW_NAME);

TEST_P(LinkedProgram, FindsTheWholeBoardWithoutTheLauncher) {
    Start started = start({"check"});
    started.words.erase(started.words.begin());
    EXPECT_EQ(Process(started).finishExpecting(0).out, "ok\n");
}

TEST_P(LinkedProgram, RunsUnderTheLauncherAsWell) {
    const Outcome outcome = runProgram(start({"check"}));
    EXPECT_EQ(outcome.out, "ok\n") << outcome.err;
}

// ---- What else is preloaded ---------------------------------------------------------------------

class Preloads : public WithTheLauncher {
protected:
    std::string valueAfter(const std::string& before) const {
        Start start = launching({PROBE, "report"});
        start.variables.emplace_back("LD_PRELOAD", before);
        return variableIn(runProgram(start).out, "LD_PRELOAD");
    }
};

TEST_F(Preloads, OfTheUserComeFirst) {
    EXPECT_EQ(valueAfter(""), BOARD_TEST_LIBRARY);
    EXPECT_EQ(valueAfter(BOARD_TEST_OTHER_PRELOAD),
              std::string(BOARD_TEST_OTHER_PRELOAD) + ":" + BOARD_TEST_LIBRARY);
}

TEST_F(Preloads, ContainTheStandInOnce) {
    const fs::path copies = copyOfAll("copy");
    EXPECT_EQ(valueAfter((copies / "libcabinaudio-board.so").string() + " " + BOARD_TEST_LIBRARY),
              BOARD_TEST_LIBRARY);
    const Outcome nested = launch({mLauncher, PROBE, "check"});
    EXPECT_EQ(nested.out, "ok\n") << nested.err;
}

// ---- Where the library lies ---------------------------------------------------------------------

class LauncherInTree : public WithTheLauncher {
protected:
    /// A launcher in `bin` and a library in another directory of the same tree.
    Outcome checkIn(const std::string& bin, const std::string& lib, const std::string& library,
                    const std::string& program) {
        const fs::path root = directory() / std::to_string(++mTrees);
        fs::create_directories(root / bin);
        fs::create_directories(root / lib);
        fs::copy_file(mLauncher, root / bin / "cabinaudio-run");
        fs::copy_file(library, root / lib / "libcabinaudio-board.so");
        Start start = launching({program, "check"});
        start.words[0] = root / bin / "cabinaudio-run";
        return runProgram(start);
    }

    int mTrees = 0;
};

TEST_F(LauncherInTree, FindsTheLibraryWhereItIsInstalled) {
    for (const char* lib : {"usr/lib/cabinaudio", "usr/lib"}) {
        const Outcome outcome = checkIn("usr/bin", lib, BOARD_TEST_LIBRARY, PROBE);
        EXPECT_EQ(outcome.out, "ok\n") << lib << outcome.err;
    }
}

TEST_F(LauncherInTree, FindsTheLibraryInADirectoryOfItsMachine) {
    if (*BOARD_TEST_TRIPLET == '\0') {
        GTEST_SKIP() << "this system has one directory for all machines";
    }
    const std::string lib = "usr/lib/" BOARD_TEST_TRIPLET;
    for (const std::string& directory : {lib, lib + "/cabinaudio"}) {
        const Outcome outcome = checkIn("usr/bin", directory, BOARD_TEST_LIBRARY, PROBE);
        EXPECT_EQ(outcome.out, "ok\n") << directory << outcome.err;
    }
}

TEST_F(LauncherInTree, FindsTheLibraryForThe32BitArmInTheNeighbouringBuild) {
    if (*BOARD_TEST_ARM_PROBE == '\0') {
        GTEST_SKIP() << "no compiler for it, or no emulator";
    }
    const Outcome outcome = checkIn("build/native/devkit/board", "build/armhf/devkit/board",
                                    BOARD_TEST_ARM_LIBRARY, BOARD_TEST_ARM_PROBE);
    EXPECT_EQ(outcome.out, "ok\n") << outcome.err;
}

// ---- Refusals -----------------------------------------------------------------------------------

class LauncherPreload : public WithTheLauncher {
protected:
    fs::path trace() const { return directory() / "work" / "trace"; }

    /// Runs the program so that it would leave a trace, if it ran.
    Outcome tryToRun(const std::string& program, Words options = {}) {
        fs::create_directory(trace().parent_path());
        chmod(trace().parent_path().c_str(), 0777);
        options.insert(options.end(), {program, "touch", trace()});
        Start start = launching(options);
        start.variables.insert(start.variables.end(), mMoreVariables.begin(), mMoreVariables.end());
        start.inChild = mInChild;
        return runProgram(start);
    }

    void expectRefused(const Outcome& outcome, const std::string& reason) const {
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.signal, 0);
        EXPECT_THAT(outcome.err, AllOf(IsOneLine(), HasSubstr(reason)));
        EXPECT_EQ(outcome.out, "");
        EXPECT_FALSE(fs::exists(trace()));
    }

    Variables mMoreVariables;
    std::function<void()> mInChild;
};

TEST_F(LauncherPreload, RunsTheProgramWhenItWorks) {
    EXPECT_EQ(tryToRun(PROBE).exitCode, 0);
    EXPECT_TRUE(fs::exists(trace()));
}

TEST_F(LauncherPreload, RefusesStaticPrograms) {
    expectRefused(tryToRun(BOARD_TEST_STATIC_PROBE), "static");
    expectRefused(tryToRun(BOARD_TEST_STATIC_PIE_PROBE), "static");
}

TEST_F(LauncherPreload, RefusesWithoutItsLibrary) {
    const fs::path alone = directory() / "alone";
    fs::create_directory(alone);
    fs::copy_file(mLauncher, alone / "cabinaudio-run");
    mLauncher = alone / "cabinaudio-run";
    expectRefused(tryToRun(PROBE), "no libcabinaudio-board.so");
    expectRefused(tryToRun(PROBE, {"--board-lib", alone / "nothing.so"}), "cannot read");
}

TEST_F(LauncherPreload, RefusesAnotherLibrary) {
    expectRefused(tryToRun(PROBE, {"--board-lib", BOARD_TEST_OTHER_PRELOAD}), "is not a");
    const fs::path text = directory() / "libcabinaudio-board.so";
    std::ofstream(text) << "text";
    expectRefused(tryToRun(PROBE, {"--board-lib", text}), "is not a");
}

/// A copy of a library or program with another machine in its header.
fs::path foreign(const fs::path& original, fs::path copy) {
    fs::copy_file(original, copy);
    std::fstream file(copy, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(offsetof(Elf64_Ehdr, e_machine));
    const Elf64_Half machine = EM_S390;
    file.write(reinterpret_cast<const char*>(&machine), sizeof machine);
    return copy;
}

TEST_F(LauncherPreload, RefusesALibraryForAnotherMachine) {
    const fs::path library = foreign(BOARD_TEST_LIBRARY, directory() / "libcabinaudio-board.so");
    expectRefused(tryToRun(PROBE, {"--board-lib", library}), "is for");
}

TEST_F(LauncherPreload, RefusesAProgramForAnotherMachine) {
    expectRefused(tryToRun(foreign(PROBE, directory() / "program")),
                  "does not run on this machine");
}

TEST_F(LauncherPreload, SkipsALibraryForAnotherMachineInItsSearch) {
    mMoreVariables = {{"CABINAUDIO_BOARD_LIB",
                       foreign(BOARD_TEST_LIBRARY, directory() / "libcabinaudio-board.so")}};
    EXPECT_EQ(tryToRun(PROBE).exitCode, 0);
    EXPECT_TRUE(fs::exists(trace()));
}

TEST_F(LauncherPreload, NamesTheLibraryThatTheProgramMisses) {
    const fs::path program = directory() / "program";
    fs::copy_file(BOARD_TEST_NEEDY_PROBE, program);
    const Outcome outcome = tryToRun(program);
    EXPECT_EQ(outcome.exitCode, 127);
    EXPECT_THAT(outcome.err, AllOf(IsOneLine(), HasSubstr("libcabinaudio-board-missing.so")));
}

// ---- Programs with more rights than their caller ------------------------------------------------

void becomeNobody() {
    if (setgroups(0, nullptr) != 0 || setgid(NOBODY) != 0 || setuid(NOBODY) != 0) _exit(97);
}

bool rightsAreIgnoredHere(const fs::path& directory) {
    struct statvfs status {};
    return statvfs(directory.c_str(), &status) != 0 || (status.f_flag & ST_NOSUID) != 0 ||
           prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1;
}

class ProgramWithRights : public LauncherPreload {
protected:
    void SetUp() override {
        if (rightsAreIgnoredHere(directory())) {
            GTEST_SKIP() << "this place gives no program more rights";
        }
        if (geteuid() == 0) {
            mCopies = copyOfAll("copies");
            mLauncher = mCopies / "cabinaudio-run";
            mInChild = becomeNobody;
        }
    }

    fs::path mCopies;  // set for root only, who can give rights
};

TEST_F(ProgramWithRights, SetUserIdIsRefused) {
    std::string program = "/usr/bin/passwd";
    if (geteuid() == 0) {
        program = mCopies / "probe";
        ASSERT_EQ(chmod(program.c_str(), 04755), 0);
    } else if (!fs::exists(program)) {
        GTEST_SKIP() << "an ordinary user cannot make such a program, and there is none";
    }
    expectRefused(tryToRun(program), "set-user-id");
}

TEST_F(ProgramWithRights, FileCapabilityIsRefused) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file a capability";
    }
    const fs::path program = mCopies / "probe";
    vfs_cap_data capability{};
    capability.magic_etc = VFS_CAP_REVISION_2 | VFS_CAP_FLAGS_EFFECTIVE;
    capability.data[0].permitted = 1U << CAP_NET_BIND_SERVICE;
    if (setxattr(program.c_str(), "security.capability", &capability, XATTR_CAPS_SZ_2, 0) != 0) {
        GTEST_SKIP() << "files cannot be given capabilities here";
    }
    expectRefused(tryToRun(program), "file capabilities");
    mInChild = {};  // root gains nothing by them, and the loader preloads
    EXPECT_EQ(tryToRun(program).exitCode, 0);
    EXPECT_TRUE(fs::exists(trace()));
}

TEST_F(ProgramWithRights, RunsWithoutExtraRights) {
    const std::string program = geteuid() == 0 ? (mCopies / "probe").string() : PROBE;
    EXPECT_EQ(tryToRun(program).exitCode, 0);
    EXPECT_TRUE(fs::exists(trace()));
}

// ---- A preload that the dry run promised and the run did not keep -------------------------------

class LibraryThatDoesNotAnswer : public WithTheLauncher {};

TEST_F(LibraryThatDoesNotAnswer, EndsTheProgramInTime) {
    const Outcome outcome =
        launch({"--board-lib", BOARD_TEST_IMPOSTOR, "--timeout", "1", PROBE, "pause"});
    EXPECT_EQ(outcome.signal, SIGKILL);
    EXPECT_THAT(outcome.err, AllOf(IsOneLine(), HasSubstr("did not answer within 1 s")));
}

TEST_F(LibraryThatDoesNotAnswer, IsReportedEvenAfterAShortProgram) {
    const Outcome outcome = launch({"--board-lib", BOARD_TEST_IMPOSTOR, PROBE, "exit", "0"});
    EXPECT_THAT(outcome.err, AllOf(IsOneLine(), HasSubstr("did not answer")));
}

}  // namespace
}  // namespace cabinaudio::test
