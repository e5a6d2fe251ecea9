// SPDX-License-Identifier: Apache-2.0
//
// The order in which the server's one thread serves clocks and clients.
#include "devkit/server/base/UniqueFd.h"
#include "devkit/server/clients/Client.h"
#include "devkit/server/loop/EventLoop.h"

#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <vector>

namespace cabinaudio::server {
namespace {

TEST(EventLoop, ServesClocksBetweenManyReadyClients) {
    EventLoop loop;
    std::vector<UniqueFd> clients;
    int sinceClock = 0;
    int most = 0;
    int total = 0;
    for (int i = 0; i < 200; ++i) {  // always readable
        clients.emplace_back(eventfd(1, EFD_CLOEXEC));
        loop.add(clients.back().get(), EPOLLIN, [&](std::uint32_t) {
            ++total;
            ++sinceClock;
        });
    }
    const UniqueFd clock(eventfd(1, EFD_CLOEXEC));
    loop.add(
        clock.get(), EPOLLIN,
        [&](std::uint32_t) {
            most = std::max(most, sinceClock);
            sinceClock = 0;
            if (total >= 2000) loop.stop();
        },
        EventLoop::Turn::First);
    loop.run();
    EXPECT_LE(most, 8);
    EXPECT_GE(most, 1);
}

TEST(EventLoop, ServesReadyClientsEvenly) {
    EventLoop loop;
    std::vector<UniqueFd> clients;
    std::vector<int> turns(50);
    int total = 0;
    for (std::size_t i = 0; i < turns.size(); ++i) {
        clients.emplace_back(eventfd(1, EFD_CLOEXEC));
        loop.add(clients.back().get(), EPOLLIN, [&, i](std::uint32_t) {
            ++turns[i];
            if (++total == 500) loop.stop();
        });
    }
    loop.run();
    EXPECT_GE(*std::min_element(turns.begin(), turns.end()), 9);
    EXPECT_LE(*std::max_element(turns.begin(), turns.end()), 11);
}

/// Counts, answers nothing, and ends the loop after the first request.
class Counting : public ClientOwner {
public:
    explicit Counting(EventLoop& loop) : mLoop(loop) {}
    std::uint32_t registerClient(Client&) override { return 1; }
    void request(Client&, std::span<const std::uint8_t>) override {
        ++requests;
        mLoop.stop();
    }
    void notified(const Client&, std::uint32_t, std::uint32_t) override {}
    void disconnected(Client&) override {}

    int requests = 0;

private:
    EventLoop& mLoop;
};

TEST(ClientWithManyRequests, GetsOneRequestHandledPerTurn) {
    EventLoop loop;
    Counting owner(loop);
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends), 0);
    const UniqueFd other(ends[0]);
    const Client client(loop, UniqueFd(ends[1]), owner);

    audio_param header = {};
    header.cmd = AUDIO_CMD_REGISTER;
    header.handle = AUDIO_REGISTER_WORD;
    header.length = sizeof header.name;
    ASSERT_EQ(send(other.get(), &header, sizeof header, MSG_NOSIGNAL), ssize_t{sizeof header});
    header.cmd = AUDIO_CMD_CALL;
    header.handle = 1;
    header.length = 4;
    std::vector<std::uint8_t> requests;
    for (int i = 0; i < 10; ++i) {
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&header);
        requests.insert(requests.end(), bytes, bytes + sizeof header);
        requests.resize(requests.size() + 4);
    }
    const auto size = static_cast<ssize_t>(requests.size());
    ASSERT_EQ(send(other.get(), requests.data(), requests.size(), MSG_NOSIGNAL), size);
    loop.run();
    EXPECT_EQ(owner.requests, 1);
}

}  // namespace
}  // namespace cabinaudio::server
