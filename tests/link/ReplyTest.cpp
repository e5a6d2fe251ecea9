// SPDX-License-Identifier: Apache-2.0
// How the receive thread hands a reply's body over to the requester.
#include "tests/link/LinkFixture.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <mutex>
#include <string>

namespace cabinaudio::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr std::size_t HEADER = 32;

Bytes reply(const Bytes& body) {
    return ScriptedServer::frame(HEADER_REPLY) + body;
}

bool stillWaiting(const std::future<std::int32_t>& result) {
    return result.wait_for(WHILE) == std::future_status::timeout;
}

/// The result, or a number that recv() never returns when it does not come.
std::int32_t resultOf(std::future<std::int32_t>& result) {
    return result.wait_for(BOUND) == std::future_status::ready ? result.get() : -1;
}

class Reply : public Connection {
protected:
    std::int32_t receive() {
        return connection.recv(body.data(), static_cast<std::int32_t>(body.size()));
    }
    Bytes body = Bytes(4, 0xee);
};

TEST_F(Reply, IsReadIntoTheBufferOfTheRequester) {
    server.send(reply({1, 2, 3, 4}));
    EXPECT_EQ(receive(), 0);
    EXPECT_THAT(body, ElementsAre(1, 2, 3, 4));
}

TEST_F(Reply, WakesARequesterThatWaits) {
    auto result = receivingInBackground(body);
    EXPECT_TRUE(stillWaiting(result));
    server.send(reply({1, 2, 3, 4}));
    EXPECT_EQ(resultOf(result), 0);
    EXPECT_THAT(body, ElementsAre(1, 2, 3, 4));
}

TEST_F(Reply, LeavesTheRestOfTheBufferWhenItIsShort) {
    server.send(reply({1, 2}));
    EXPECT_EQ(receive(), 0);
    EXPECT_THAT(body, ElementsAre(1, 2, 0xee, 0xee));
}

TEST_F(Reply, IsAwaitedWhenItsBodyFollowsLater) {
    server.send(ScriptedServer::frame(HEADER_REPLY));
    auto result = receivingInBackground(body);
    EXPECT_TRUE(stillWaiting(result));
    server.send({5, 6, 7, 8});
    EXPECT_EQ(resultOf(result), 0);
    EXPECT_THAT(body, ElementsAre(5, 6, 7, 8));
}

TEST_F(Reply, IsReadWhenItFollowsAnother) {
    for (std::uint8_t i = 0; i < 100; ++i) {
        server.send(reply({i, i, i, i}));
        ASSERT_EQ(receive(), 0);
        ASSERT_THAT(body, Each(i));
    }
}

TEST_F(Reply, FailsAfterADisconnect) {
    EXPECT_EQ(connection.disconnect(), 0);
    EXPECT_EQ(receive(), 1);
    EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "recv", "pSocket is null\n"));
}

TEST_F(Reply, WaitEndsWithADisconnect) {
    auto result = receivingInBackground(body);
    EXPECT_TRUE(stillWaiting(result));
    EXPECT_EQ(connection.disconnect(), 0);
    EXPECT_EQ(resultOf(result), 1);
    EXPECT_TRUE(logged(log, DEBUG, "AudioConnection", "recv", "exit\n"));
    EXPECT_THAT(body, Each(0xee));
}

TEST_F(Reply, IsAwaitedEvenWhenTheServerIsGone) {
    auto result = receivingInBackground(body);
    server.close();
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_TRUE(stillWaiting(result));
    EXPECT_EQ(connection.disconnect(), 0);
    EXPECT_EQ(resultOf(result), 1);
    EXPECT_TRUE(logged(log, DEBUG, "exit\n"));
}

TEST_F(Reply, WaitsOfTwoRequestersEndWithADisconnect) {
    Bytes other(4);
    auto first = receivingInBackground(body);
    auto second = receivingInBackground(other);
    EXPECT_TRUE(stillWaiting(first));
    EXPECT_TRUE(stillWaiting(second));
    EXPECT_EQ(connection.disconnect(), 0);
    EXPECT_EQ(resultOf(first), 1);
    EXPECT_EQ(resultOf(second), 1);
}

TEST_F(Reply, WaitForAMissingBodyEndsWithTheConnection) {
    NoSleeping sleeping;
    server.send(ScriptedServer::frame(HEADER_REPLY));
    auto result = receivingInBackground(body);
    EXPECT_TRUE(stillWaiting(result));
    EXPECT_EQ(connection.disconnect(), 0);
    // Nothing read at the end of the stream is a result of 0, which counts as success; whether the
    // request got through to the read at all is a race.
    EXPECT_THAT(resultOf(result), ::testing::AnyOf(0, 1));
    EXPECT_THAT(body, Each(0xee));
}

TEST_F(Reply, OfLengthZeroReadsNothing) {
    NoSleeping sleeping;
    server.send(ScriptedServer::frame(HEADER_REPLY));
    EXPECT_EQ(connection.recv(body.data(), 0), 0);
    EXPECT_TRUE(loggedLike(log, WARN, "recv failed\\(0\\) errno:.* [0-9]+, reTry=[0-9]+\n", 11));
}

TEST_F(Reply, FailsForANegativeLength) {
    NoSleeping sleeping;
    server.send(ScriptedServer::frame(HEADER_REPLY));
    EXPECT_EQ(connection.recv(body.data(), -1), 1);
    EXPECT_TRUE(logged(log, ERROR, "recv failed(-1) Invalid argument 22\n"));
    EXPECT_THAT(body, Each(0xee));
}

// ---- Readers of the socket ----------------------------------------------------------------------

/// Lengths of all receives, in the order in which they brought something.
class ReceiveOrder : public ::testing::Test {
protected:
    std::vector<std::size_t> lengths() const {
        const std::lock_guard lock(mLock);
        return mLengths;
    }

    LogCapture log;
    ScriptedServer server;
    Mailbox box;

private:
    mutable std::mutex mLock;
    std::vector<std::size_t> mLengths;
    Replaced<platform::recv> mReplace{
        [this](int descriptor, void* data, std::size_t length, int flags) {
            const ssize_t got = platform::recv.real(descriptor, data, length, flags);
            const std::lock_guard lock(mLock);
            if (got > 0) mLengths.push_back(length);
            return got;
        }};

protected:
    AudioConnection connection{wire::SERVER_SOCKET, wire::SERVER_PORT, &Mailbox::take, &box};
};

TEST_F(ReceiveOrder, LeavesANotificationBehindABodyUntilTheBodyIsRead) {
    ASSERT_TRUE(server.waitForClients(1));
    server.send(reply(Bytes(200, 7)) + ScriptedServer::frame(HEADER_NOTIFY, 3, 4));
    EXPECT_FALSE(box.waitFor(1, WHILE));
    Bytes body(200);
    EXPECT_EQ(connection.recv(body.data(), 200), 0);
    EXPECT_THAT(body, Each(7));
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_THAT(box.taken(), ElementsAre(Notification{3, 4}));
    EXPECT_THAT(lengths(), ElementsAre(HEADER, 200, HEADER));
}

// ---- Bodies that cannot be read -----------------------------------------------------------------

/// Receives of the requester, which asks for four bytes, are the test's; headers come through.
class ReplyBody : public Connection {
protected:
    using Receive = std::function<ssize_t(int, void*, std::size_t, int)>;

    /// With one reply header on its way.
    std::int32_t receiveThrough(Receive receive) {
        const Replaced<platform::recv> replace(
            [&](int descriptor, void* data, std::size_t length, int flags) {
                if (length == HEADER) return platform::recv.real(descriptor, data, length, flags);
                ++calls;
                return receive(descriptor, data, length, flags);
            });
        server.send(ScriptedServer::frame(HEADER_REPLY));
        return connection.recv(body, sizeof body);
    }
    /// Nothing of the body was on the socket, so the next frame is in its place.
    void expectThatTheReceiveThreadContinues() {
        server.notify(6, 7);
        ASSERT_TRUE(box.waitFor(1));
        EXPECT_THAT(box.taken(), ElementsAre(Notification{6, 7}));
    }

    NoSleeping sleeping;
    std::uint8_t body[4] = {};
    int calls = 0;
};

class BodyAttempts : public ReplyBody, public ::testing::WithParamInterface<Attempts> {};

TEST_P(BodyAttempts, AreElevenAfterEagainOrNoBytesAndElseOne) {
    EXPECT_EQ(receiveThrough(returning(GetParam().result, GetParam().error)), GetParam().status);
    EXPECT_EQ(calls, GetParam().calls);
    GetParam().expectIn(log, "recv", sleeping);
    EXPECT_TRUE(
        logged(log, ERROR, "AudioConnection", "recv",
               "recv failed(" + std::to_string(GetParam().result) + ") " + GetParam().cause + "\n",
               GetParam().status == 0 ? 0 : 1));
    expectThatTheReceiveThreadContinues();
}

INSTANTIATE_TEST_SUITE_P(Returning, BodyAttempts, ::testing::ValuesIn(ATTEMPTS), ROW_NAME);

TEST_F(ReplyBody, IsReadByALaterAttempt) {
    EXPECT_EQ(receiveThrough([&](int, void* data, std::size_t length, int flags) {
                  EXPECT_EQ(length, 4u);
                  EXPECT_EQ(flags, MSG_NOSIGNAL);
                  if (calls < 3) return ssize_t{failWith(EAGAIN)};
                  static_cast<std::uint8_t*>(data)[0] = 9;
                  return ssize_t{1};
              }),
              0);
    EXPECT_EQ(body[0], 9);
    EXPECT_TRUE(logged(log, DEBUG, "recv(1) reTry:2\n"));
    expectThatTheReceiveThreadContinues();
}

}  // namespace
}  // namespace cabinaudio::test
