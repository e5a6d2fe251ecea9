// SPDX-License-Identifier: Apache-2.0
#include "tests/link/LinkFixture.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace cabinaudio::test {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr std::uint8_t MESSAGE[] = {1, 2, 3, 4, 5};

class Sending : public Connection {
protected:
    std::int32_t sendMessage() { return connection.send(MESSAGE, sizeof MESSAGE); }

    NoSleeping sleeping;
    std::atomic<int> calls = 0;
};

TEST_F(Sending, PassesTheWholeMessageOnceWithoutSignals) {
    std::size_t length = 0;
    int flags = 0;
    const void* data = nullptr;
    Replaced<platform::send> send([&](int descriptor, const void* from, std::size_t size, int how) {
        ++calls;
        data = from;
        length = size;
        flags = how;
        return platform::send.real(descriptor, from, size, how);
    });
    EXPECT_EQ(sendMessage(), 0);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(data, MESSAGE);
    EXPECT_EQ(length, 5u);
    EXPECT_EQ(flags, MSG_NOSIGNAL);
}

TEST_F(Sending, DeliversTheBytesUnchanged) {
    EXPECT_EQ(sendMessage(), 0);
    server.close();
    ASSERT_TRUE(server.waitForEndOf());
    EXPECT_THAT(server.received(), ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(Sending, SucceedsWhenAPartWasSent) {
    const Replaced<platform::send> send(returning(1, 0, &calls));
    EXPECT_EQ(sendMessage(), 0);
    EXPECT_EQ(calls, 1);
    EXPECT_THAT(sleeping.sleeps(), SizeIs(0));
}

class SendAttempts : public Sending, public ::testing::WithParamInterface<Attempts> {};

TEST_P(SendAttempts, AreElevenAfterEagainOrNoBytesAndElseOne) {
    const Replaced<platform::send> send(returning(GetParam().result, GetParam().error, &calls));
    EXPECT_EQ(sendMessage(), GetParam().status);
    EXPECT_EQ(calls, GetParam().calls);
    GetParam().expectIn(log, "send", sleeping);
}

INSTANTIATE_TEST_SUITE_P(Returning, SendAttempts, ::testing::ValuesIn(ATTEMPTS), ROW_NAME);

TEST_F(Sending, SucceedsWithARetry) {
    Replaced<platform::send> send(
        [&](int descriptor, const void* data, std::size_t length, int flags) {
            if (++calls <= 2) return ssize_t{failWith(EAGAIN)};
            return platform::send.real(descriptor, data, length, flags);
        });
    EXPECT_EQ(sendMessage(), 0);
    EXPECT_EQ(calls, 3);
    EXPECT_TRUE(logged(log, DEBUG, "send(-1) reTry:1\n"));
    EXPECT_TRUE(logged(log, DEBUG, "send(5) reTry:2\n"));
}

TEST_F(Sending, RefusesANegativeLength) {
    const Replaced<platform::send> send(returning(1, 0, &calls));
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
