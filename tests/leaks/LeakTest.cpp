// SPDX-License-Identifier: Apache-2.0
//
// That a leak fails a test, in the surroundings that the tests run in.
#include "tests/support/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace cabinaudio::test {
namespace {

struct End {
    int status;
    std::string said;
};

End endOf(const std::string& loss) {
    const TemporaryDirectory directory;
    const std::string log = directory.file("log");
    const int status = std::system((LEAKY_PROGRAM " " + loss + " 2>" + log).c_str());
    std::ifstream file(log);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            std::string(std::istreambuf_iterator<char>(file), {})};
}

TEST(AProgramOfThisBuild, FailsWhenItLosesABlock) {
    const End end = endOf("block");
    EXPECT_GT(end.status, 0);
    EXPECT_THAT(end.said, ::testing::HasSubstr("LeakSanitizer: detected memory leaks"));
}

TEST(AProgramOfThisBuild, FailsWhenItLosesAnObjectOfTheLibrary) {
    const End end = endOf("ring");
    EXPECT_GT(end.status, 0);
    EXPECT_THAT(end.said, ::testing::HasSubstr("LeakSanitizer: detected memory leaks"));
}

TEST(AProgramOfThisBuild, EndsWellWhenItLosesNothing) {
    const End end = endOf("nothing");
    EXPECT_EQ(end.status, 0) << end.said;
}

}  // namespace
}  // namespace cabinaudio::test
