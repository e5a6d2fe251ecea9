// SPDX-License-Identifier: Apache-2.0
#include "tests/link/LinkFixture.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <string>

namespace cabinaudio::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr std::uint8_t MESSAGE[] = {1, 2, 3, 4, 5};

class Sending : public AConnection {
protected:
    std::int32_t sendMessage() { return connection.send(MESSAGE, sizeof MESSAGE); }

    NoSleeping sleeping;
    int calls = 0;
};

TEST_F(Sending, HandsTheWholeMessageOverOnceAndWithoutASignal) {
    std::size_t length = 0;
    int flags = 0;
    const void* data = nullptr;
    platform::Replace send(platform::sendSlot,
                           [&](int descriptor, const void* from, std::size_t size, int how) {
                               ++calls;
                               data = from;
                               length = size;
                               flags = how;
                               return platform::real::send(descriptor, from, size, how);
                           });
    EXPECT_EQ(sendMessage(), 0);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(data, MESSAGE);
    EXPECT_EQ(length, 5u);
    EXPECT_EQ(flags, MSG_NOSIGNAL);
}

TEST_F(Sending, ArrivesAsItIs) {
    EXPECT_EQ(sendMessage(), 0);
    server.close();
    ASSERT_TRUE(server.waitForEndOf());
    EXPECT_THAT(server.received(), ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(Sending, TakesAPartForTheWhole) {
    platform::Replace send(platform::sendSlot, [&](int, const void*, std::size_t, int) {
        ++calls;
        return ssize_t{1};
    });
    EXPECT_EQ(sendMessage(), 0);
    EXPECT_EQ(calls, 1);
    EXPECT_THAT(sleeping.sleeps(), SizeIs(0));
}

TEST_F(Sending, RetriesTenTimesWhileTheServerDoesNotRead) {
    platform::Replace send(platform::sendSlot, [&](int, const void*, std::size_t, int) {
        ++calls;
        return ssize_t{platform::failWith(EAGAIN)};
    });
    EXPECT_EQ(sendMessage(), 1);
    EXPECT_EQ(calls, 11);
    for (int retry = 0; retry <= 10; ++retry)
        EXPECT_TRUE(logged(log, WARN, "AudioConnection", "send",
                           "send failed(-1) errno:Resource temporarily unavailable 11, reTry=" +
                               std::to_string(retry) + "\n"));
    for (int retry = 1; retry <= 10; ++retry)
        EXPECT_TRUE(logged(log, DEBUG, "AudioConnection", "send",
                           "send(-1) reTry:" + std::to_string(retry) + "\n"));
    EXPECT_THAT(sleeping.sleeps(), SizeIs(11));
    EXPECT_THAT(sleeping.sleeps(), Each(10000));
}

TEST_F(Sending, SucceedsWithARetry) {
    platform::Replace send(platform::sendSlot,
                           [&](int descriptor, const void* data, std::size_t length, int flags) {
                               if (++calls <= 2) return ssize_t{platform::failWith(EAGAIN)};
                               return platform::real::send(descriptor, data, length, flags);
                           });
    EXPECT_EQ(sendMessage(), 0);
    EXPECT_EQ(calls, 3);
    EXPECT_TRUE(logged(log, DEBUG, "send(-1) reTry:1\n"));
    EXPECT_TRUE(logged(log, DEBUG, "send(5) reTry:2\n"));
}

TEST_F(Sending, GivesUpAtOnceWithAnyOtherError) {
    platform::Replace send(platform::sendSlot, [&](int, const void*, std::size_t, int) {
        ++calls;
        return ssize_t{platform::failWith(EPIPE)};
    });
    EXPECT_EQ(sendMessage(), 1);
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(logged(log, WARN, "send failed(-1) errno:Broken pipe 32, reTry=0\n"));
    EXPECT_THAT(sleeping.sleeps(), ElementsAre(10000));
}

TEST_F(Sending, CountsNothingSentAsSentAfterTenRetries) {
    platform::Replace send(platform::sendSlot, [&](int, const void*, std::size_t, int) {
        ++calls;
        return ssize_t{0};
    });
    EXPECT_EQ(sendMessage(), 0);
    EXPECT_EQ(calls, 11);
    EXPECT_TRUE(loggedLike(log, WARN, "send failed\\(0\\) errno:.* [0-9]+, reTry=10\n"));
    EXPECT_TRUE(logged(log, DEBUG, "send(0) reTry:10\n"));
}

TEST_F(Sending, GivesUpAtOnceBelowMinusOne) {
    platform::Replace send(platform::sendSlot, [&](int, const void*, std::size_t, int) {
        ++calls;
        errno = EAGAIN;
        return ssize_t{-2};
    });
    EXPECT_EQ(sendMessage(), 1);
    EXPECT_EQ(calls, 1);
}

TEST_F(Sending, RefusesANegativeLength) {
    platform::Replace send(platform::sendSlot, [&](int, const void*, std::size_t, int) {
        ++calls;
        return ssize_t{1};
    });
    EXPECT_EQ(connection.send(MESSAGE, -1), 1);
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(logged(log, WARN, "send failed(-1) errno:Invalid argument 22, reTry=0\n"));
}

TEST_F(Sending, FailsWithoutASignalWhenTheServerIsGone) {
    server.close();
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_EQ(sendMessage(), 1);
    EXPECT_TRUE(logged(log, WARN, "send failed(-1) errno:Broken pipe 32, reTry=0\n"));
}

TEST_F(Sending, FailsAfterADisconnect) {
    EXPECT_EQ(connection.disconnect(), 0);
    EXPECT_EQ(sendMessage(), 1);
    EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "send", "pSocket is null\n"));
}

}  // namespace
}  // namespace cabinaudio::test
