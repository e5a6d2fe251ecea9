// SPDX-License-Identifier: Apache-2.0
// What passed and failed tests of an application leave: seen from outside, in a process of its own.
#include <cabinaudio/testing/Directory.h>
#include <cabinaudio/testing/Program.h>

#include "tests/support/Files.h"
#include "tests/support/Process.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>

using cabinaudio::test::contentsOf;
using cabinaudio::test::Outcome;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

namespace fs = std::filesystem;

class KeptDirectories : public ::testing::Test {
protected:
    Outcome runTests(const std::string& filter, bool isKept) {
        cabinaudio::test::Start start;
        // In the emulator, programs are started by this machine's launcher.
        if (KIT_TEST_IS_EMULATED) start.words = {KIT_TEST_LAUNCHER, "--"};
        for (const std::string& word : {std::string(KIT_TEST_SAMPLE), "--gtest_filter=" + filter,
                                        "--gtest_output=xml:" + mDirectory.file("result.xml")})
            start.words.push_back(word);
        start.variables = {{"CABINAUDIO_TEST_OUTPUT", isKept ? kept().string() : ""},
                           {"TMPDIR", temporary()}};
        fs::create_directories(temporary());
        return cabinaudio::test::runProgram(start);
    }
    fs::path kept() const { return mDirectory.path() / "kept"; }
    fs::path temporary() const { return mDirectory.path() / "temporary"; }
    std::string properties() const { return contentsOf(mDirectory.path() / "result.xml"); }

private:
    cabinaudio::test::TemporaryDirectory mDirectory;
};

}  // namespace

TEST_F(KeptDirectories, PassedTestLeavesNothing) {
    const Outcome outcome = runTests("Sample.passes", true);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_FALSE(fs::exists(kept() / "Sample.passes"));
    EXPECT_TRUE(fs::is_empty(temporary()));
}

TEST_F(KeptDirectories, FailedTestKeepsSoundReportAndLog) {
    const Outcome outcome = runTests("Sample.fails", true);
    EXPECT_EQ(outcome.exitCode, 1);
    const fs::path directory = kept() / "Sample.fails";
    for (const char* const name : {"heard.wav", "report.json", "server.log"})
        EXPECT_TRUE(fs::exists(directory / name)) << name << outcome.text();
    EXPECT_TRUE(fs::exists(directory / "stems" / "auxiliary-chime.wav")) << outcome.text();
    const std::string heard = (directory / "heard.wav").string();
    EXPECT_THAT(outcome.out,
                AllOf(HasSubstr("Expected: meets 'tone 880 [0.1..0.4]'"),
                      HasSubstr("which has 440"), HasSubstr(", heard in " + heard + ", picture ")));
    EXPECT_THAT(properties(),
                AllOf(HasSubstr("name=\"heard\" value=\"" + heard),
                      HasSubstr("name=\"cabinaudio_directory\" value=\"" + directory.string())));
}

TEST_F(KeptDirectories, FailedTestKeepsAPicture) {
    const Outcome outcome = runTests("Sample.fails", true);
    const std::string picture = kept() / "Sample.fails" / "heard.png";
#ifdef CABINAUDIO_TEST_CAIRO
    EXPECT_THAT(contentsOf(picture), StartsWith("\x89PNG"));
    EXPECT_THAT(outcome.out, HasSubstr(", picture " + picture));
    EXPECT_THAT(properties(), HasSubstr("name=\"picture\" value=\"" + picture));
#else
    EXPECT_FALSE(fs::exists(picture));
    EXPECT_THAT(outcome.out, HasSubstr("built without Cairo"));
#endif
}

TEST_F(KeptDirectories, FailedTestWithoutAPlaceLeavesNothingAndSaysHowToKeepIt) {
    const Outcome outcome = runTests("Sample.fails", false);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(fs::is_empty(temporary()));
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("set CABINAUDIO_TEST_OUTPUT"), HasSubstr("which has"),
                                   Not(HasSubstr("picture"))));
}

TEST_F(KeptDirectories, NextRunOfATestReplacesItsDirectory) {
    EXPECT_EQ(runTests("Sample.fails", true).exitCode, 1);
    const fs::path directory = kept() / "Sample.fails";
    fs::create_directories(directory / "old");
    EXPECT_EQ(runTests("Sample.fails", true).exitCode, 1);
    EXPECT_FALSE(fs::exists(directory / "old"));
    EXPECT_TRUE(fs::exists(directory / "heard.wav"));
    EXPECT_FALSE(fs::exists(directory.string() + "-2"));
}

TEST_F(KeptDirectories, LostServerFailsATest) {
    const Outcome outcome = runTests("Sample.losesItsServer", true);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.out, HasSubstr("the server was ended by signal 9"));
    EXPECT_TRUE(fs::exists(kept() / "Sample.losesItsServer" / "server.log"));
}

TEST_F(KeptDirectories, ServerLostBeforeARestartFailsATest) {
    const Outcome outcome = runTests("Sample.losesARestartedServer", true);
    EXPECT_NE(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, HasSubstr("the server was ended by signal 9"));
}

TEST_F(KeptDirectories, TestCanExpectToLoseItsServerAndStartAnother) {
    const Outcome outcome = runTests(
        "Sample.expectsToLoseItsServer:Sample.startsAnother:Sample.crashesItsServer", true);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
}
