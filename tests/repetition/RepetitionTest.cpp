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

TEST(AFailedCase, IsNotRepeatedWithoutAPause) {
    const Outcome outcome = outcomeOf("Case.FailsOnceWithoutAPause");
    EXPECT_EQ(outcome.exitCode, 1) << outcome.text();
    EXPECT_THAT(outcome.out, Not(HasSubstr(AGAIN)));
}

TEST(AFailedCase, IsNotExcusedByThePauseOfAnother) {
    const Outcome outcome = outcomeOf("Case.PassesAfterAPause:Case.FailsOnceWithoutAPause");
    EXPECT_EQ(outcome.exitCode, 1) << outcome.text();
    EXPECT_THAT(outcome.out, Not(HasSubstr(AGAIN)));
}

TEST(AFailedCase, FailsTheProgramBesideOneThatCouldBeRepeated) {
    const Outcome outcome = outcomeOf("Case.FailsOnceAfterAPause:Case.FailsOnceWithoutAPause");
    EXPECT_EQ(outcome.exitCode, 1) << outcome.text();
    EXPECT_THAT(outcome.out, Not(HasSubstr(AGAIN)));
}

TEST(AFailedCase, IsNotExcusedByTheSmallBuffersOfAnother) {
    const Outcome outcome = outcomeOf("Case.PassesWithSmallBuffers:Case.FailsOnceWithoutAPause");
    EXPECT_EQ(outcome.exitCode, 1) << outcome.text();
    EXPECT_THAT(outcome.out, Not(HasSubstr(AGAIN)));
}

}  // namespace
}  // namespace cabinaudio::test
