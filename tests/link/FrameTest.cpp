// SPDX-License-Identifier: Apache-2.0
// How the receive thread handles the server's frames.
#include "tests/link/LinkFixture.h"
#include "tests/support/ProcessState.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

namespace cabinaudio::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr Notification SERVER_GONE = {255, 0};
constexpr char ANY_CRASH[] = "service may be crash!!! mIsStall:0, errno:.* [0-9]+\n";
constexpr char ANY_END[] = "disconnect return from recv,recv failed.*\n";

bool receiveThreadEnds() {
    return eventually([] {
        const auto names = threadNames();
        return std::count(names.begin(), names.end(), "AS-SktWorker") == 0;
    });
}

class Frame : public Connection {};

TEST_F(Frame, OfANotificationReachesTheCallback) {
    // magic, id, event, spare, send time (long ago), param, spare
    server.send({0x33, 0x22, 0x11, 0x00, 0, 0, 0, 0, 0x78, 0x56, 0x34, 0x12, 9, 9, 9, 9,
                 1,    0,    0,    0,    0, 0, 0, 0, 0xef, 0xcd, 0xab, 0x89, 9, 9, 9, 9});
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_THAT(box.taken(), ElementsAre(Notification{0x12345678, 0x89abcdef}));
}

TEST_F(Frame, IsReadByItselfWhenItFollowsAnother) {
    server.send(ScriptedServer::frame(HEADER_NOTIFY, 1, 10) +
                ScriptedServer::frame(HEADER_NOTIFY, 2, 20));
    ASSERT_TRUE(box.waitFor(2));
    EXPECT_THAT(box.taken(), ElementsAre(Notification{1, 10}, Notification{2, 20}));
}

TEST_F(Frame, OfFourBytesIsANotificationOfZeros) {
    server.send({0x33, 0x22, 0x11, 0x00});
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_THAT(box.taken(), ElementsAre(Notification{0, 0}));
}

TEST_F(Frame, ThatWasSentLongAgoIsLogged) {
    // Sent 2^31 us from now, which in 32 bits is as long ago.
    Bytes frame = ScriptedServer::frame(HEADER_NOTIFY, 1, 1);
    frame[19] = static_cast<std::uint8_t>(frame[19] ^ 0x80);
    server.send(frame);
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_TRUE(loggedLike(log, WARN, "'S->C' overtime\\(2[12][0-9]{8}us > 3000us\\)\\.\n"));
    const auto lines = log.allLines();
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const LogLine& line) {
        return line.text.rfind("[AudioConnection][run][", 0) == 0 &&
               line.text.find("]'S->C' overtime(") != std::string::npos;
    })) << log.dump();
}

TEST_F(Frame, WithAWrongMagicEndsTheThreadAndNotifiesTheOwner) {
    server.send(Bytes{0xef, 0xbe, 0xad, 0xde} + Bytes(28, 0));
    ASSERT_TRUE(
        log.waitFor(DEBUG, "disconnect return from recv,recv failed(32) magic=0xdeadbeef\n"))
        << log.dump();
    EXPECT_TRUE(loggedLike(log, ERROR, ANY_CRASH));
    EXPECT_TRUE(logged(log, DEBUG, "AudioConnection", "run",
                       "disconnect return from recv,recv failed(32) magic=0xdeadbeef\n"));
    EXPECT_TRUE(receiveThreadEnds());
    EXPECT_THAT(box.taken(), ElementsAre(SERVER_GONE));
}

TEST_F(Frame, WithAnUnknownIdEndsTheThreadWithoutANotification) {
    server.send(ScriptedServer::frame(2));
    ASSERT_TRUE(log.waitFor(ERROR, "unknown header id(2)\n"));
    EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "run", "unknown header id(2)\n"));
    EXPECT_TRUE(receiveThreadEnds());
    EXPECT_THAT(box.taken(), SizeIs(0));
}

TEST_F(Frame, MissingAtTheEndOfTheConnectionIsLoggedAsACrash) {
    server.close();
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_TRUE(receiveThreadEnds());
    EXPECT_THAT(box.taken(), ElementsAre(SERVER_GONE));
    EXPECT_TRUE(loggedLike(log, ERROR, ANY_CRASH));
    EXPECT_TRUE(loggedLike(log, DEBUG, ANY_END, 0));
    EXPECT_EQ(connection.disconnect(), 0);
    EXPECT_THAT(box.taken(), SizeIs(1));
}

TEST_F(Frame, CallbackRunsOnTheReceiveThread) {
    std::atomic<bool> elsewhere = false;
    const pthread_t self = pthread_self();
    box.onTake = [&](const Notification&) { elsewhere = pthread_equal(pthread_self(), self) == 0; };
    server.notify(1, 1);
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_TRUE(elsewhere);
}

// ---- Without a callback -------------------------------------------------------------------------

class ConnectionWithoutCallback : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(server.waitForClients(1)); }

    LogCapture log;
    ScriptedServer server;
    AudioConnection connection{wire::SERVER_SOCKET, wire::SERVER_PORT, nullptr, nullptr};
};

TEST_F(ConnectionWithoutCallback, LogsAndDropsNotifications) {
    server.notify(1, 1);
    server.notify(2, 2);
    EXPECT_TRUE(log.waitFor(WARN, "connection cbk is null\n", 2)) << log.dump();
    EXPECT_TRUE(logged(log, WARN, "AudioConnection", "run", "connection cbk is null\n", 2));
}

TEST_F(ConnectionWithoutCallback, DoesNotLogACrash) {
    server.close();
    EXPECT_TRUE(receiveThreadEnds());
    EXPECT_TRUE(loggedLike(log, ERROR, ANY_CRASH, 0));
    EXPECT_TRUE(loggedLike(log, DEBUG, ANY_END, 0));
}

TEST_F(ConnectionWithoutCallback, LogsAWrongMagic) {
    server.send(Bytes(32, 1));
    EXPECT_TRUE(receiveThreadEnds());
    EXPECT_TRUE(loggedLike(log, ERROR, ANY_CRASH, 0));
    EXPECT_TRUE(
        logged(log, DEBUG, "disconnect return from recv,recv failed(32) magic=0x1010101\n"));
}

// ---- Receives that fail -------------------------------------------------------------------------

/// The connection is made after the receive function was replaced, because its thread is in there
/// from then on.
class FrameReceive : public ::testing::Test {
protected:
    void connect() {
        connection = std::make_unique<AudioConnection>(wire::SERVER_SOCKET, wire::SERVER_PORT,
                                                       &Mailbox::take, &box);
        ASSERT_TRUE(server.waitForClients(1));
    }
    std::string line(int error, const char* text, int retry) const {
        return "recv socket:[0-9]+ ret:-1 errno:" + std::string(text) + " " +
               std::to_string(error) + ", reTry=" + std::to_string(retry) + "\n";
    }

    LogCapture log;
    ScriptedServer server;
    Mailbox box;
    NoSleeping sleeping;
    std::atomic<int> calls = 0;
    std::unique_ptr<AudioConnection> connection;
};

TEST_F(FrameReceive, CountsAsACrashAtOnceForAnyErrorButEagain) {
    const Replaced<platform::recv> recv(returning(-1, ECONNRESET, &calls));
    connect();
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_TRUE(receiveThreadEnds());
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(loggedLike(log, WARN, line(104, "Connection reset by peer", 0)));
    EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "run",
                       "service may be crash!!! mIsStall:0, errno:Connection reset by peer 104\n"));
    EXPECT_TRUE(loggedLike(log, DEBUG, ANY_END, 0));
    EXPECT_THAT(box.taken(), ElementsAre(SERVER_GONE));
    EXPECT_THAT(sleeping.sleeps(), ElementsAre(10000));
}

TEST_F(FrameReceive, EndsTheThreadWithoutACrashAfterElevenAttempts) {
    const Replaced<platform::recv> recv(returning(-1, EAGAIN, &calls));
    connect();
    ASSERT_TRUE(log.waitFor(DEBUG, "disconnect return from recv,recv failed(-1) magic=0x0\n"));
    EXPECT_TRUE(receiveThreadEnds());
    EXPECT_EQ(calls, 11);
    for (int retry = 0; retry <= 10; ++retry)
        EXPECT_TRUE(loggedLike(log, WARN, line(11, "Resource temporarily unavailable", retry)));
    EXPECT_TRUE(loggedLike(log, ERROR, ANY_CRASH, 0));
    EXPECT_THAT(box.taken(), SizeIs(0));
    EXPECT_THAT(sleeping.sleeps(), SizeIs(11));
    EXPECT_THAT(sleeping.sleeps(), Each(10000));
}

TEST_F(FrameReceive, ReadsTheNextFrameAfterTenRetries) {
    Replaced<platform::recv> recv([&](int descriptor, void* data, std::size_t length, int flags) {
        if (++calls <= 10) return ssize_t{failWith(EAGAIN)};
        return platform::recv.real(descriptor, data, length, flags);
    });
    connect();
    server.notify(4, 5);
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_THAT(box.taken(), ElementsAre(Notification{4, 5}));
}

TEST_F(FrameReceive, StartsAgainWhenTheBufferHasAValidMagic) {
    Replaced<platform::recv> recv([&](int descriptor, void* data, std::size_t length, int flags) {
        if (++calls > 11) return platform::recv.real(descriptor, data, length, flags);
        const std::uint32_t magic = 0x00112233;
        std::memcpy(data, &magic, sizeof magic);
        return ssize_t{failWith(EAGAIN)};
    });
    connect();
    server.notify(4, 5);
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_TRUE(logged(log, WARN, "AudioConnection", "run", "recv again\n"));
    EXPECT_THAT(box.taken(), ElementsAre(Notification{4, 5}));
}

TEST_F(FrameReceive, EndsWithoutACrashWhenErrnoIsEagainAtTheEndOfTheStream) {
    const Replaced<platform::recv> recv(returning(0, EAGAIN));
    connect();
    EXPECT_TRUE(log.waitFor(DEBUG, "disconnect return from recv,recv failed(0) magic=0x0\n"));
    EXPECT_TRUE(receiveThreadEnds());
    EXPECT_TRUE(loggedLike(log, ERROR, ANY_CRASH, 0));
    EXPECT_THAT(box.taken(), SizeIs(0));
}

TEST_F(FrameReceive, IsNotRetriedForAResultBelowMinusOne) {
    const Replaced<platform::recv> recv(returning(-2, EIO, &calls));
    connect();
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(
        loggedLike(log, WARN, "recv socket:[0-9]+ ret:-2 errno:Input/output error 5, reTry=0\n"));
}

TEST_F(FrameReceive, EndsWithoutACrashWhenTheClientDisconnects) {
    Counter entered;
    Replaced<platform::recv> recv([&](int descriptor, void* data, std::size_t length, int flags) {
        entered.add();
        return platform::recv.real(descriptor, data, length, flags);
    });
    connect();
    ASSERT_TRUE(entered.waitFor(1));
    EXPECT_EQ(connection->disconnect(), 0);
    EXPECT_TRUE(logged(log, DEBUG, "AudioConnection", "run",
                       "disconnect return from recv,recv failed(-1) magic=0x0\n"));
    EXPECT_TRUE(loggedLike(log, ERROR, ANY_CRASH, 0));
    EXPECT_THAT(box.taken(), SizeIs(0));
}

TEST_F(FrameReceive, RequestsOneHeaderWithoutSignals) {
    std::size_t asked = 0;
    int how = 0;
    Replaced<platform::recv> recv([&](int, void*, std::size_t length, int flags) {
        asked = length;
        how = flags;
        return ssize_t{failWith(EIO)};
    });
    connect();
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_EQ(asked, 32u);
    EXPECT_EQ(how, MSG_NOSIGNAL);
}

}  // namespace
}  // namespace cabinaudio::test
