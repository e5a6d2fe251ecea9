// SPDX-License-Identifier: Apache-2.0
#include "tests/link/LinkFixture.h"
#include "tests/support/ProcessState.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <string>
#include <thread>

namespace cabinaudio::test {
namespace {

using ::testing::ElementsAre;

class Disconnecting : public Connection {};

TEST_F(Disconnecting, ShutsTheSocketDownLogsAndClosesIt) {
    std::mutex lock;
    std::vector<std::string> steps;
    int descriptor = -1;
    Replaced<platform::shutdown> shutdown([&](int fd, int how) {
        const std::lock_guard hold(lock);
        descriptor = fd;
        steps.push_back(how == SHUT_RDWR ? "shutdown" : "half a shutdown");
        return platform::shutdown.real(fd, how);
    });
    Replaced<platform::close> close([&](int fd) {
        const std::lock_guard hold(lock);
        if (fd == descriptor) steps.push_back("close");
        return platform::close.real(fd);
    });
    EXPECT_EQ(connection.disconnect(), 0);
    EXPECT_THAT(steps, ElementsAre("shutdown", "close"));
    // Without a line end: kept as it is.
    EXPECT_TRUE(logged(log, DEBUG, "AudioConnection", "disconnect",
                       "close socket fd:" + std::to_string(descriptor)));
    EXPECT_TRUE(server.waitForEndOf());
}

TEST_F(Disconnecting, FailsWhenItIsRepeated) {
    EXPECT_EQ(connection.disconnect(), 0);
    EXPECT_EQ(connection.disconnect(), 1);
    EXPECT_TRUE(logged(log, ERROR, "AudioConnection", "disconnect", "pSocket is null\n"));
}

TEST_F(Disconnecting, ByTheDestructorLeavesNothing) {
    const ProcessState before = ProcessState::now();
    for (int i = 0; i < 20; ++i)
        const AudioConnection another(wire::SERVER_SOCKET, 0, nullptr, nullptr);
    EXPECT_TRUE(loggedLike(log, DEBUG, "close socket fd:[0-9]+", 20));
    EXPECT_TRUE(returnsTo(before));
}

TEST_F(Disconnecting, EndsAReceiveThreadThatWaitsForAReader) {
    const ProcessState connected = ProcessState::now();
    server.send(ScriptedServer::frame(HEADER_REPLY) + Bytes{1, 2, 3, 4});
    EXPECT_EQ(connection.disconnect(), 0);
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads == connected.threads - 1; }));
}

TEST_F(Disconnecting, SucceedsOnceForTwoThreads) {
    for (int round = 0; round < 20; ++round) {
        AudioConnection another(wire::SERVER_SOCKET, 0, nullptr, nullptr);
        std::int32_t results[2] = {};
        std::thread other([&] { results[0] = another.disconnect(); });
        results[1] = another.disconnect();
        other.join();
        EXPECT_EQ(results[0] + results[1], 1);
    }
}

TEST_F(Disconnecting, EndsARequestAtAnyMoment) {
    server.onOther(Answer::status(0));
    for (int round = 0; round < 50; ++round) {
        AudioConnection another(wire::SERVER_SOCKET, 0, nullptr, nullptr);
        Counter exchanges;
        std::thread requester([&] {
            audio_param message = {};
            message.cmd = AUDIO_CMD_CALL;
            std::uint8_t reply[4];
            const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&message);
            while (another.send(bytes, sizeof message) == 0 &&
                   another.recv(reply, sizeof reply) == 0)
                exchanges.add();
        });
        EXPECT_TRUE(exchanges.waitFor(static_cast<std::size_t>(round % 5)));
        EXPECT_EQ(another.disconnect(), 0);
        requester.join();
    }
}

TEST_F(Disconnecting, EndsASendThatTheServerDoesNotRead) {
    server.pauseReading();
    std::atomic<int> sent = 0;
    std::thread sender([&] {
        const Bytes block(100000);
        while (connection.send(block.data(), static_cast<std::int32_t>(block.size())) == 0)
            ++sent;
    });
    // Until the socket is full; a sender that is on its way in then finds it shut down as well.
    EXPECT_TRUE(eventually([&] { return sent >= 1; }));
    EXPECT_EQ(connection.disconnect(), 0);
    sender.join();
    EXPECT_GE(log.count(ERROR, "pSocket is null\n") +
                  log.count(WARN, "send failed(-1) errno:Broken pipe 32, reTry=0\n"),
              1u)
        << log.dump();
}

TEST_F(Disconnecting, KeepsTheDescriptorOpenWhileASenderUsesIt) {
    std::atomic<int> closed = 0;
    HeldSend send(-1);
    Replaced<platform::close> close([&](int fd) {
        if (fd == send.descriptor()) ++closed;
        return platform::close.real(fd);
    });
    std::thread sender([&] {
        const Bytes message(100);
        EXPECT_EQ(connection.send(message.data(), static_cast<std::int32_t>(message.size())), 1);
    });
    EXPECT_TRUE(send.waitForSend());
    std::thread disconnector([&] { EXPECT_EQ(connection.disconnect(), 0); });
    EXPECT_TRUE(send.waitForShutdown());
    EXPECT_FALSE(eventually([&] { return closed != 0; }, WHILE));
    send.release();
    sender.join();
    disconnector.join();
    EXPECT_EQ(closed, 1);
}

}  // namespace
}  // namespace cabinaudio::test
