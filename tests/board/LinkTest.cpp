// SPDX-License-Identifier: Apache-2.0
// The link for the loader to a library with blanks in its path, and other users who plant links.
#include "tests/board/Launcher.h"
#include "tests/support/UserProcess.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace cabinaudio::test {
namespace {

namespace fs = std::filesystem;

constexpr char SHARED_PLACE[] = "/dev/shm";

class LoaderLink : public WithTheLauncher {
protected:
    LoaderLink() {
        fs::create_directory(mOdd);
        fs::permissions(directory(), fs::perms(0755));
        fs::copy_file(BOARD_TEST_LIBRARY, library());
    }
    ~LoaderLink() override {
        fs::remove_all(mOdd);
        launch({"--clean"});  // the link leads nowhere now
        std::error_code ignored;
        if (!mPlanted.empty()) fs::remove_all(mPlanted, ignored);
    }

    fs::path library() const { return mOdd / "libcabinaudio-board.so"; }

    Start starting(std::vector<std::string> words) const {
        words.insert(words.begin(), {"--board-lib", library()});
        Start start = launching(words);
        start.variables.insert(start.variables.end(), mVariables.begin(), mVariables.end());
        return start;
    }

    /// The path that a program finds the library under.
    fs::path link() const {
        return variableIn(runProgram(starting({PROBE, "report"})).out, "LD_PRELOAD");
    }

    /// A directory that is made with another mode.
    fs::path place(const char* name, mode_t mode) const {
        const fs::path path = directory() / name;
        fs::create_directory(path);
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
        return path;
    }

    static bool isOwn(const fs::path& path) {
        struct stat status {};
        return lstat(path.c_str(), &status) == 0 && status.st_uid == geteuid();
    }

    static bool isPrivate(const fs::path& path) {
        struct stat status {};
        return isOwn(path) && lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
               (status.st_mode & 07777) == 0700;
    }

    const fs::path mOdd = directory() / "a b";
    Variables mVariables;
    fs::path mPlanted;  // what the other user has made in a place that is not the test's own
};

// The other user's link leads to the right library while the launcher looks, and to another one
// when the program starts a program.
TEST_F(LoaderLink, IsNotALinkOfAnotherUser) {
    if (!asNobody([] { return access(SHARED_PLACE, W_OK) == 0; })) {
        GTEST_SKIP() << "this user cannot be another one";
    }
    const fs::path first = link();
    if (first.parent_path() == SHARED_PLACE) fs::remove(first);
    mPlanted = fs::path(SHARED_PLACE) / first.filename();
    const std::string planted = mPlanted;
    const std::string other = planted + "-2";
    ASSERT_TRUE(asNobody([&] { return symlink(library().c_str(), planted.c_str()) == 0; }));

    const fs::path script = directory() / "script";
    writeScript(script, "#!/bin/sh\necho begun\nread end\n\"$1\" check\n");
    Process program(starting({script, PROBE}));
    ASSERT_EQ(program.readLine(), "begun");
    ASSERT_TRUE(asNobody([&] {
        return symlink(BOARD_TEST_IMPOSTOR, other.c_str()) == 0 &&
               std::rename(other.c_str(), planted.c_str()) == 0;
    }));
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.out, "ok\n") << outcome.err;
}

TEST_F(LoaderLink, IsInADirectoryOfItsUserAlone) {
    const fs::path made = link();
    EXPECT_TRUE(isPrivate(made.parent_path())) << made;
    EXPECT_EQ(made.parent_path().parent_path(), directory()) << "in TMPDIR";
    EXPECT_EQ(fs::read_symlink(made), library());
}

TEST_F(LoaderLink, IsInTheRuntimeDirectory) {
    const fs::path runtime = place("runtime", 0700);
    mVariables = {{"XDG_RUNTIME_DIR", runtime}};
    EXPECT_EQ(link().parent_path(), runtime);
    fs::create_symlink(runtime, directory() / "linked");
    mVariables = {{"XDG_RUNTIME_DIR", directory() / "linked"}};
    EXPECT_EQ(link().parent_path(), runtime) << "the loader is told the place itself";
}

TEST_F(LoaderLink, IsNotInARuntimeDirectoryOpenToOthers) {
    for (const mode_t mode : {0755U, 0770U, 01777U}) {
        mVariables = {{"XDG_RUNTIME_DIR", place("runtime", mode)}};
        EXPECT_EQ(link().parent_path().parent_path(), directory());
    }
    if (geteuid() == 0) {
        const fs::path others = place("others", 0700);
        ASSERT_EQ(chown(others.c_str(), NOBODY, NOBODY), 0);
        mVariables = {{"XDG_RUNTIME_DIR", others}};
        EXPECT_EQ(link().parent_path().parent_path(), directory());
    }
}

TEST_F(LoaderLink, IsNotBelowADirectoryThatOthersMayMove) {
    const fs::path shared = place("shared", 0777);
    fs::create_directory(shared / "runtime");
    fs::permissions(shared / "runtime", fs::perms(0700));
    mVariables = {{"XDG_RUNTIME_DIR", shared / "runtime"}, {"TMPDIR", shared}};
    const fs::path made = link();
    EXPECT_EQ(made.native().rfind(shared.native(), 0), std::string::npos) << made;
    EXPECT_TRUE(isPrivate(made.parent_path())) << made;
}

TEST_F(LoaderLink, IsNotInADirectoryThatAnotherUserHasPrepared) {
    const fs::path shared = place("shared", 01777);
    const std::string name = "cabinaudio-run-" + std::to_string(geteuid()) + "-";
    const std::string prepared = shared / (name + "aaaaaa");
    const std::string led = shared / (name + "bbbbbb");
    const fs::path own = place("own", 0700);
    const bool isPrepared = asNobody([&] {
        return mkdir(prepared.c_str(), 0777) == 0 && symlink(own.c_str(), led.c_str()) == 0;
    });
    if (!isPrepared) GTEST_SKIP() << "this user cannot be another one";
    mVariables = {{"TMPDIR", shared}};
    const fs::path made = link();
    EXPECT_EQ(made.parent_path().parent_path(), shared);
    EXPECT_TRUE(isPrivate(made.parent_path())) << made;
    EXPECT_TRUE(isOwn(made));
    EXPECT_TRUE(fs::is_empty(prepared));
    EXPECT_TRUE(fs::is_empty(own));
    fs::remove_all(mOdd);
    Start cleaning = launching({"--clean"});
    cleaning.variables.emplace_back("TMPDIR", shared);
    Process(cleaning).finishExpecting(0);
    EXPECT_FALSE(fs::exists(made.parent_path()));
    EXPECT_TRUE(fs::exists(prepared)) << "not this user's";
}

TEST_F(LoaderLink, IsSharedByAllRuns) {
    const fs::path made = link();
    EXPECT_EQ(link(), made);
    EXPECT_EQ(link(), made);
    const auto entries = fs::directory_iterator(made.parent_path());
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST_F(LoaderLink, HasNoBlanksInItsPathDespiteTemporaryDirectoriesWithBlanks) {
    mVariables = {{"TMPDIR", place("temporary files", 0700)},
                  {"XDG_RUNTIME_DIR", place("run time", 0700)}};
    const fs::path made = link();
    EXPECT_EQ(made.native().find(' '), std::string::npos) << made;
    EXPECT_TRUE(isPrivate(made.parent_path())) << made;
    EXPECT_EQ(runProgram(starting({PROBE, "check"})).out, "ok\n");
}

TEST_F(LoaderLink, IsRefusedWhenItsNameIsTaken) {
    const fs::path made = link();
    fs::remove(made);
    fs::create_symlink(BOARD_TEST_IMPOSTOR, made);
    EXPECT_THAT(Process(starting({PROBE, "check"})).finishExpecting(1).err, IsOneLine());
    fs::remove(made);
}

}  // namespace
}  // namespace cabinaudio::test
