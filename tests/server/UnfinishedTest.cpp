// SPDX-License-Identifier: Apache-2.0
//
// Messages and command lines whose rest does not come.
#include "tests/server/RawClient.h"
#include "tests/support/RealServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstring>

namespace cabinaudio::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr int PATIENCE_MS = 60000;

int connectToControlSocket() {
    constexpr char NAME[] = "/tmp/cabinaudio_control";
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, NAME, sizeof NAME - 1);
    constexpr auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + sizeof NAME);
    EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&address), length), 0);
    return fd;
}

Bytes halfARequest(const RawClient& client) {
    Bytes message = bytesOf(client.requestHeader(100));
    message.resize(message.size() + 50);
    return message;
}

TEST(AMessage, IsNotAwaitedForLongerThanAWhile) {
    const RealServer server;
    RawClient slow(AUDIO_CONNECT_APP_SETTING, "slow");
    RawClient idle(AUDIO_CONNECT_VERSION_SETTING, "idle");
    slow.send(halfARequest(slow));
    EXPECT_TRUE(slow.isClosedByServer());
    EXPECT_THAT(server.output(), HasSubstr("\"slow\": does not finish its message"));
    EXPECT_EQ(idle.call(bytesOf(wire::FunctionRequest{0}), 32).size(), 32U)
        << "between messages a client may take its time";
}

TEST(ACommandLine, IsNotAwaitedForLongerThanAWhile) {
    const RealServer server;
    const int half = connectToControlSocket();
    const int idle = connectToControlSocket();
    ASSERT_EQ(send(half, "sta", 3, MSG_NOSIGNAL), 3);
    pollfd entry = {half, POLLIN, 0};
    ASSERT_GT(poll(&entry, 1, PATIENCE_MS), 0);
    char letter = 0;
    EXPECT_EQ(recv(half, &letter, 1, 0), 0) << "closed";
    ASSERT_EQ(send(idle, "state\n", 6, MSG_NOSIGNAL), 6);
    EXPECT_EQ(recv(idle, &letter, 1, 0), 1) << "before a line it may take its time";
    close(half);
    close(idle);
}

/// The rest has come, and the server could not read it: it was the server that paused.
TEST(AMessage, IsReadAfterAPauseOfTheServer) {
    const RealServer server;
    RawClient client(AUDIO_CONNECT_VERSION_SETTING, "patient");
    const Bytes payload = bytesOf(wire::FunctionRequest{0});
    Bytes message = bytesOf(client.requestHeader(payload.size()));
    client.send(message);
    EXPECT_EQ(server.command("stall 12000"), "ok");
    client.send(payload);
    EXPECT_TRUE(client.hasNotification(PATIENCE_MS)) << "the answer";
    EXPECT_THAT(server.output(), Not(HasSubstr("does not finish")));
}

}  // namespace
}  // namespace cabinaudio::test
