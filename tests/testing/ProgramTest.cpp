// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/testing/Directory.h>
#include <cabinaudio/testing/Program.h>

#include "tests/testing/helpers/MessageOf.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

using namespace cabinaudio::testing;
using kit::messageOf;
using namespace std::chrono_literals;
using ::testing::HasSubstr;

namespace {

std::vector<std::string> application(std::vector<std::string> commands) {
    commands.insert(commands.begin(), KIT_TEST_APPLICATION);
    return commands;
}

/// The program runs while the test looks at it.
struct Hanging {
    explicit Hanging(std::vector<std::string> commands = {}) : program(words(commands)) {
        program.waitForOutput("out");
    }
    static std::vector<std::string> words(std::vector<std::string> commands) {
        commands.insert(commands.end(), {"say", "hang"});
        return application(commands);
    }
    TestProgram program;
};

}  // namespace

TEST(TestProgram, RunsUnderTheLauncherWithTheInstanceGiven) {
    ProgramOptions options;
    options.instance = "other";
    TestProgram program(application({"place"}), options);
    EXPECT_EQ(program.wait().exitStatus, 0) << program.log();
    EXPECT_EQ(program.output(), "instance=other board=1\n");
}

TEST(TestProgram, HasTheInstanceOfThisProcessByDefault) {
    TestProgram program(application({"place"}));
    EXPECT_TRUE(program.wait().isSuccess()) << program.log();
    EXPECT_EQ(program.output(),
              std::string("instance=") + getenv("CABINAUDIO_INSTANCE") + " board=1\n");
}

#ifdef __x86_64__  // the target's programs need the launcher's emulator
TEST(TestProgram, RunsWithoutTheLauncherIfAsked) {
    ProgramOptions options;
    options.isLaunched = false;
    TestProgram program(application({"place"}), options);
    EXPECT_TRUE(program.wait().isSuccess()) << program.log();
    EXPECT_THAT(program.output(), HasSubstr("board=0"));
}
#endif

TEST(TestProgram, GetsTheEnvironmentGiven) {
    ProgramOptions options;
    options.environment = {{"KIT_VARIABLE", "a b"}};
    TestProgram program(application({"variable"}), options);
    EXPECT_TRUE(program.wait().isSuccess());
    EXPECT_EQ(program.output(), "KIT_VARIABLE=a b\n");
}

TEST(TestProgram, KeepsOutputAndLogApart) {
    const TestDirectory directory;
    ProgramOptions options;
    options.directory = directory.path();
    TestProgram program(application({"say", "complain"}), options);
    EXPECT_TRUE(program.wait().isSuccess());
    EXPECT_EQ(program.output(), "out\n");
    EXPECT_THAT(program.log(), HasSubstr("first\nsecond\nthird\n"));
    EXPECT_EQ(program.lastLines(2), "second\nthird\n");
    EXPECT_EQ(program.logPath(), directory.file("kit-application.log"));
}

TEST(TestProgram, SecondRunInADirectoryHasItsOwnFiles) {
    const TestDirectory directory;
    ProgramOptions options;
    options.directory = directory.path();
    TestProgram first(application({"say"}), options);
    TestProgram second(application({}), options);
    EXPECT_TRUE(first.wait().isSuccess());
    EXPECT_TRUE(second.wait().isSuccess());
    EXPECT_EQ(first.output(), "out\n");
    EXPECT_EQ(second.output(), "");
    EXPECT_EQ(second.logPath(), directory.file("kit-application-2.log"));
}

TEST(TestProgram, ReportsAnExitStatus) {
    TestProgram program(application({"fail"}));
    const ProgramEnd end = program.wait();
    EXPECT_EQ(end.exitStatus, 3);
    EXPECT_FALSE(end.isSuccess());
    EXPECT_EQ(::testing::PrintToString(end), "exited with status 3");
    EXPECT_EQ(program.wait().exitStatus, 3) << "the second wait";
}

TEST(TestProgram, ReportsACrash) {
    TestProgram program(application({"crash"}));
    const ProgramEnd end = program.wait();
    EXPECT_EQ(end.signal, SIGABRT);
    EXPECT_EQ(end.exitStatus, -1);
    EXPECT_FALSE(end.isOverdue);
    EXPECT_EQ(::testing::PrintToString(end), "was ended by SIGABRT (Aborted)");
}

TEST(TestProgram, IsKilledWhenItHangs) {
    Hanging hanging({"stubborn"});
    hanging.program.signal(SIGTERM);
    const ProgramEnd end = hanging.program.wait(50ms);
    EXPECT_TRUE(end.isOverdue);
    EXPECT_EQ(end.signal, SIGKILL);
    EXPECT_EQ(::testing::PrintToString(end), "did not end in time and was killed");
    EXPECT_FALSE(hanging.program.isRunning());
}

TEST(TestProgram, GetsSignals) {
    Hanging hanging({"graceful"});
    EXPECT_TRUE(hanging.program.isRunning());
    hanging.program.signal(SIGTERM);
    EXPECT_EQ(hanging.program.wait().exitStatus, 7);
}

TEST(TestProgram, ThatHasEndedGetsNoSignals) {
    TestProgram program(application({"complain"}));
    EXPECT_TRUE(program.wait().isSuccess());
    const std::string message = messageOf([&] { program.signal(SIGTERM); });
    EXPECT_THAT(message, HasSubstr("kit-application has ended already:\n"));
    EXPECT_THAT(message, HasSubstr("third"));
}

TEST(TestProgram, WaitForOutputNamesWhatIsMissingAtTheEnd) {
    TestProgram program(application({"complain"}));
    const std::string message = messageOf([&] { program.waitForOutput("fourth"); });
    EXPECT_THAT(message, HasSubstr("kit-application ended without 'fourth':\n"));
    EXPECT_THAT(message, HasSubstr("first\nsecond\nthird\n"));
}

TEST(TestProgram, WaitForOutputHasABound) {
    Hanging hanging;
    const std::string message = messageOf([&] { hanging.program.waitForOutput("never", 30ms); });
    EXPECT_THAT(message, HasSubstr("has not printed 'never' within 30 ms"));
    EXPECT_TRUE(hanging.program.isRunning());
}

TEST(TestProgram, DoesNotOutliveTheObject) {
    pid_t pid = 0;
    {
        const Hanging hanging({"stubborn"});
        pid = hanging.program.pid();
    }
    EXPECT_EQ(kill(pid, 0), -1);
    EXPECT_EQ(errno, ESRCH);
}

TEST(TestProgram, ThatIsNotFoundEndsWithTheLauncherStatusForThat) {
    TestProgram program({"/nowhere/application"});
    EXPECT_EQ(program.wait().exitStatus, 127);
    EXPECT_THAT(program.log(), HasSubstr("/nowhere/application is not found"));
}

TEST(TestProgram, NeedsAWord) {
    EXPECT_EQ(messageOf([] { TestProgram program({}); }),
              "a program has at least one word, its path");
}
