// SPDX-License-Identifier: Apache-2.0
//
// Limits of the number of connections, and the order in which they are admitted and served.
#include "devkit/server/base/UniqueFd.h"
#include "devkit/server/clients/Admission.h"
#include "devkit/server/clients/Listener.h"
#include "devkit/server/clients/Quota.h"
#include "devkit/server/control/ControlSocket.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/NoDescriptors.h"

#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::server {
namespace {

using test::connectTo;

TEST(ConnectionLimits, LeaveDescriptorsForStreamsAndForTheServer) {
    for (rlim_t descriptors = 64; descriptors < 70000; descriptors += 7) {
        const auto limits = ConnectionLimits::of(descriptors);
        const std::size_t controls = limits.controlsOfOthers + 2 * limits.controlsOfUser;
        ASSERT_LE(4 * limits.clients + controls + 32, descriptors);
        ASSERT_GE(limits.controlsOfUser, 1U);
        ASSERT_LT(limits.clientsOfUser, limits.clients) << "one user has not all";
        ASSERT_LT(limits.clientsOfOthers, limits.clients);
    }
}

TEST(ConnectionLimits, AllowTheStreamsOfOneProcess) {
    const auto usual = ConnectionLimits::of(1024);
    EXPECT_GE(usual.clientsOfUser, 150U) << "as many streams as one process can have";
    EXPECT_GE(usual.controlsOfUser, 32U);
    const auto most = ConnectionLimits::of(RLIM_INFINITY);
    EXPECT_EQ(most.clientsOfUser, 1024U);
    EXPECT_EQ(most.controlsOfUser, 64U);
    EXPECT_EQ(most.clients, 16312U);
}

TEST(QuotaShare, IsGivenBackAtItsEnd) {
    Quota quota(Quota::Scope::PerUser, "things", 10);
    Quota::Share second(quota, 1);
    {
        Quota::Share first(quota, 1);
        EXPECT_TRUE(first.resize(6));
        EXPECT_FALSE(second.resize(5));
        EXPECT_TRUE(second.resize(4)) << "a refused one counts nothing";
        EXPECT_TRUE(first.resize(3));
        EXPECT_TRUE(second.resize(7));
        EXPECT_TRUE(Quota::Share(quota, 2).resize(10)) << "of another user";
        Quota::Share moved = std::move(first);
        EXPECT_FALSE(second.resize(8));
    }
    EXPECT_TRUE(second.resize(10));
}

TEST(QuotaShare, OfAllTogetherCountsOtherUsers) {
    Quota quota(Quota::Scope::AllUsers, "things", 10);
    Quota::Share first(quota, 1);
    Quota::Share second(quota, 2);
    EXPECT_TRUE(first.resize(6));
    EXPECT_FALSE(second.resize(5));
}

/// The bytes received so far.
std::string received(const UniqueFd& fd) {
    std::string text(1000, '\0');
    const ssize_t count = recv(fd.get(), text.data(), text.size(), MSG_DONTWAIT);
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return text;
}

/// Clocks are served first in each turn, so they wait for one command at most.
TEST(CommandLines, AreAnsweredOnePerTurnOfTheLoop) {
    constexpr int LINES = 20;
    constexpr int CONNECTIONS = 3;
    EventLoop loop;
    Admission admission({}, ConnectionLimits::of(1024));
    int answers = 0;
    int answersInTurn = 0;
    int mostInTurn = 0;
    const UniqueFd clock(eventfd(1, EFD_CLOEXEC));  // in every turn
    loop.add(
        clock.get(), EPOLLIN,
        [&](std::uint32_t) {
            mostInTurn = std::max(mostInTurn, std::exchange(answersInTurn, 0));
            if (answers == LINES * CONNECTIONS) loop.stop();
        },
        EventLoop::Turn::First);
    const ControlSocket control(
        loop, admission,
        [&](const std::string& line, const ControlSocket::Later& later) {
            ++answers;
            ++answersInTurn;
            later(line);
        },
        [] {});
    std::vector<UniqueFd> connections;
    for (int i = 0; i < CONNECTIONS; ++i) {
        connections.push_back(connectTo(ControlSocket::NAME));
        std::string lines;
        for (int k = 0; k < LINES; ++k)
            lines += static_cast<char>('a' + k), lines += '\n';
        ASSERT_EQ(send(connections.back().get(), lines.data(), lines.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(lines.size()));
    }
    loop.run();
    EXPECT_EQ(mostInTurn, 1);
    for (const UniqueFd& connection : connections)
        EXPECT_EQ(received(connection),
                  "a\nb\nc\nd\ne\nf\ng\nh\ni\nj\nk\nl\nm\nn\no\np\nq\nr\ns\nt\n");
}

/// The listener must notice the free descriptor without being told of it.
TEST(ListenerWithoutDescriptors, AcceptsOnceADescriptorIsFree) {
    using namespace std::chrono_literals;
    const std::string name = "/tmp/cabinaudio_listener_test." + std::to_string(getpid());
    EventLoop loop;
    bool isTaken = false;
    Listener listener(loop, name.c_str(), [&](const UniqueFd&) {
        isTaken = true;
        loop.stop();
    });
    const UniqueFd waiting = connectTo(name);
    bool wasTaken = false;
    std::optional<test::NoDescriptors> none;
    Timer end(loop, [&](std::uint64_t) { loop.stop(); });
    Timer release(loop, [&](std::uint64_t) {
        wasTaken = isTaken;
        none->freeOne();
    });
    none.emplace();
    release.once(300ms);
    end.once(60s);
    loop.run();
    EXPECT_FALSE(wasTaken);
    EXPECT_TRUE(isTaken);
}

TEST(PausedListener, StaysPausedWhenADescriptorIsClosed) {
    using namespace std::chrono_literals;
    const std::string name = "/tmp/cabinaudio_pause_test." + std::to_string(getpid());
    EventLoop loop;
    int taken = 0;
    Listener listener(loop, name.c_str(), [&](const UniqueFd&) { ++taken; });
    const UniqueFd waiting = connectTo(name);
    listener.pause();
    listener.descriptorClosed();
    Timer end(loop, [&](std::uint64_t) { loop.stop(); });
    end.once(20ms);
    loop.run();
    EXPECT_EQ(taken, 0);
}

}  // namespace
}  // namespace cabinaudio::server
