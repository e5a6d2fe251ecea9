// SPDX-License-Identifier: Apache-2.0
#include "plugins/common/StreamName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace cabinaudio::test {

using plugin::StreamName;

TEST(StreamName, TellsKindProgramProcessAndNumber) {
    const StreamName name("alsa");
    EXPECT_THAT(name.text(),
                testing::MatchesRegex("alsa-" + std::string(program_invocation_short_name) + "-" +
                                      std::to_string(getpid()) + "-[0-9]+"));
}

TEST(StreamName, DiffersFromTheOthersOfTheProcess) {
    const StreamName one("alsa");
    const StreamName other("alsa");
    EXPECT_STRNE(one.text(), other.text());
}

TEST(StreamName, IsTheGivenOne) {
    const StreamName name("alsa", "news");
    EXPECT_STREQ(name.text(), "news");
}

TEST(StreamName, SecondOneGetsANumberWhileTheFirstExists) {
    {
        const StreamName first("alsa", "news");
        const StreamName second("alsa", "news");
        const StreamName third("alsa", "news");
        EXPECT_STREQ(second.text(), "news-2");
        EXPECT_STREQ(third.text(), "news-3");
    }
    const StreamName again("alsa", "news");
    EXPECT_STREQ(again.text(), "news");
}

TEST(StreamName, HasNoLettersThatARingsNameCannotHave) {
    const StreamName name("alsa", "a/b c=d,e");
    EXPECT_STREQ(name.text(), "a_b_c_d_e");
}

TEST(StreamName, LeavesRoomForTheRingsAddress) {
    const StreamName first("alsa", std::string(100, 'x'));
    const StreamName second("alsa", std::string(100, 'x'));
    EXPECT_EQ(first.text(), std::string(52, 'x'));
    EXPECT_EQ(second.text(), std::string(50, 'x') + "-2");
}

}  // namespace cabinaudio::test
