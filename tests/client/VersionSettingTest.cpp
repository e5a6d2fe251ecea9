// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientVersionSetting.h>

#include "tests/support/StreamFixture.h"

#include <algorithm>
#include <future>
#include <iterator>

namespace cabinaudio::test {
namespace {

class VersionQuery : public StreamFixture {
protected:
    int ask(ClientVersionSetting& query) {
        return query.getServerVersions(numbers, numbers + 3, numbers + 6);
    }
    void expectNumbers(std::initializer_list<int> expected) const {
        EXPECT_TRUE(
            std::equal(std::begin(numbers), std::end(numbers), expected.begin(), expected.end()))
            << ::testing::PrintToString(numbers);
    }

    int numbers[7] = {-1, -1, -1, -1, -1, -1, -1};
};

TEST_F(VersionQuery, RegistersWithoutANameAndSendsNothingElse) {
    ClientVersionSetting query;
    EXPECT_EQ(query.initCheck(), AUDIO_NO_ERROR);
    const std::vector<Request> all = server.requests();
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all[0].header.type, 132U);
    EXPECT_STREQ(all[0].header.name, "unkn");
}

TEST_F(VersionQuery, SpreadsTheSevenWordsOverItsArguments) {
    server.on(132, 0, Answer::words(0, 1, 2, 3, 4, 5, 6, 7));
    ClientVersionSetting query;
    EXPECT_EQ(ask(query), 0);
    expectNumbers({1, 2, 3, 4, 5, 6, 7});
    const std::vector<Request> asked = server.requests(132, 0);
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_EQ(asked[0].header.cmd, 198U);
    EXPECT_EQ(asked[0].payload, Bytes(4, 0));
}

TEST_F(VersionQuery, CopiesTheNumbersEvenWhenTheServerReportsAnError) {
    server.on(132, 0, Answer::words(-42, 1, 2, 3, 4, 5, 6, 7));
    ClientVersionSetting query;
    EXPECT_EQ(ask(query), -42);
    expectNumbers({1, 2, 3, 4, 5, 6, 7});
}

TEST_F(VersionQuery, ReadsMissingWordsOfAShortReplyAsZeros) {
    server.on(132, 0, Answer::words(0, 9, 8));
    ClientVersionSetting query;
    EXPECT_EQ(ask(query), 0);
    expectNumbers({9, 8, 0, 0, 0, 0, 0});
}

TEST_F(VersionQuery, LeavesItsArgumentsAloneWithoutAServer) {
    server.stop();
    ClientVersionSetting query;
    EXPECT_EQ(query.initCheck(), AUDIO_NOT_CONNECTED);
    EXPECT_EQ(ask(query), 1);
    expectNumbers({-1, -1, -1, -1, -1, -1, -1});
    EXPECT_TRUE(loggedLike(ERROR, "mConn=0x[0-9a-f]+, mHandle=0x0\n"));
}

TEST_F(VersionQuery, RefusesASecondRequestAtTheSameTime) {
    server.on(132, 0, Answer::words(0, 1, 2, 3, 4, 5, 6, 7).held());
    ClientVersionSetting query;
    int others[7] = {};
    std::future<int> first = std::async(std::launch::async, [&] {
        return query.getServerVersions(others, others + 3, others + 6);
    });
    ASSERT_TRUE(server.waitForRequest(0));
    EXPECT_EQ(ask(query), AUDIO_NO_MEMORY);
    expectNumbers({-1, -1, -1, -1, -1, -1, -1});
    server.release();
    EXPECT_EQ(first.get(), 0);
}

TEST_F(VersionQuery, ReturnsTheLibrarysVersionWithoutAServer) {
    server.stop();
    ClientVersionSetting query;
    query.getClientVersions(numbers, numbers + 3);
    expectNumbers({2, 24, 25, 0, 0, 0, -1});
}

}  // namespace
}  // namespace cabinaudio::test
