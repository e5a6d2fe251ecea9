// SPDX-License-Identifier: Apache-2.0
//
// A failed case is repeated if the machine stood still during it, and only then.
#include "tests/support/Process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>

namespace cabinaudio::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr char AGAIN[] = "once more, attempt 2";

/// The end of the sample with these of its cases.
Outcome outcomeOf(const std::string& cases) {
    std::istringstream line(CABINAUDIO_TEST_REPEATING);
    Words words = {"/usr/bin/env"};  // finds the emulator
    words.insert(words.end(), std::istream_iterator<std::string>(line), {});
    words.push_back("--gtest_filter=" + cases);
    Process sample({.words = words, .variables = {{"CABINAUDIO_TEST_ATTEMPT", ""}}});
    return sample.finish();
}

TEST(AFailedCase, IsRepeatedAfterAPause) {
    const Outcome outcome = outcomeOf("Case.FailsOnceAfterAPause:Case.PassesAfterAPause");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    const auto repetition = outcome.out.find(AGAIN);
    ASSERT_NE(repetition, std::string::npos) << outcome.text();
    EXPECT_THAT(outcome.out.substr(0, repetition), HasSubstr("OK ] Case.PassesAfterAPause"));
    EXPECT_THAT(outcome.out.substr(repetition), Not(HasSubstr("Case.PassesAfterAPause")));
}

TEST(AFailedCase, IsRepeatedTogetherWithTheOthers) {
    const Outcome outcome = outcomeOf("Case.FailsOnceAfterAPause*");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_THAT(outcome.out, HasSubstr("[  PASSED  ] 2 tests."));
}

/// Whether these cases make the program fail at its only attempt.
testing::AssertionResult failsAtOnce(const std::string& cases) {
    const Outcome outcome = outcomeOf(cases);
    const bool isRepeated = outcome.out.find(AGAIN) != std::string::npos;
    return (outcome.exitCode == 1 && !isRepeated ? testing::AssertionSuccess()
                                                 : testing::AssertionFailure())
           << outcome.text();
}

TEST(AFailedCase, IsNotRepeatedWithoutAPause) {
    EXPECT_TRUE(failsAtOnce("Case.FailsOnceWithoutAPause"));
}

TEST(AFailedCase, IsNotExcusedByThePauseOfAnother) {
    EXPECT_TRUE(failsAtOnce("Case.PassesAfterAPause:Case.FailsOnceWithoutAPause"));
}

TEST(AFailedCase, FailsTheProgramBesideOneThatCouldBeRepeated) {
    EXPECT_TRUE(failsAtOnce("Case.FailsOnceAfterAPause:Case.FailsOnceWithoutAPause"));
}

TEST(AFailedCase, IsNotExcusedByTheSmallBuffersOfAnother) {
    EXPECT_TRUE(failsAtOnce("Case.PassesWithSmallBuffers:Case.FailsOnceWithoutAPause"));
}

}  // namespace
}  // namespace cabinaudio::test
