// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/testing/Testing.h>

#include <fstream>
#include <string>

using namespace cabinaudio::testing;
using ::testing::AllOf;
using ::testing::HasSubstr;

namespace {

/// Scenarios with a program that plays nothing.
class Scenario : public ::testing::Test {
protected:
    std::string write(const std::string& expectation) {
        const std::string path = mDirectory.file("test.scenario");
        std::ofstream(path) << "# A program that plays nothing\n"
                            << "run player " << KIT_TEST_APPLICATION << " say\n"
                            << expectation << '\n';
        return path;
    }
    TestDirectory mDirectory;
};

}  // namespace

TEST_F(Scenario, ThatIsMetGivesItsLines) {
    const ScenarioResult result = runScenario(write("expect exit player 0"), mDirectory.path());
    EXPECT_TRUE(result.isMet()) << ::testing::PrintToString(result);
    EXPECT_THAT(result.output, HasSubstr("exit player 0"));
}

TEST_F(Scenario, ThatIsNotMetSaysWhatIsNot) {
    const ScenarioResult result = runScenario(write("expect exit player 3"), mDirectory.path());
    EXPECT_EQ(result.exitStatus, 5);
    EXPECT_THAT(::testing::PrintToString(result),
                AllOf(HasSubstr("status 5\n"), HasSubstr("NOT MET  exit player 3")));
}

TEST_F(Scenario, WithAnErrorNamesItsLine) {
    const std::string file = write("expect exit player");
    const ScenarioResult result = runScenario(file, mDirectory.path());
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.log, HasSubstr(file + ":3: "));
}

TEST_F(Scenario, HasABound) {
    const std::string file = mDirectory.file("test.scenario");
    std::ofstream(file) << "run player " << KIT_TEST_APPLICATION << " hang\nuntil finished music\n";
    try {
        (void)runScenario(file, mDirectory.path(), std::chrono::milliseconds(300));
        FAIL() << "ended";
    } catch (const Failure& failure) {
        EXPECT_THAT(failure.what(), HasSubstr("has not ended within 300 ms"));
    }
}
