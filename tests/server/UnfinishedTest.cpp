// SPDX-License-Identifier: Apache-2.0
//
// Messages and command lines that are never completed.
#include "tests/server/RawClient.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/RealServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cabinaudio::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr int PATIENCE_MS = 60000;

Bytes halfOfRequest(const RawClient& client) {
    Bytes message = bytesOf(client.requestHeader(100));
    message.resize(message.size() + 50);
    return message;
}

TEST(UnfinishedMessage, EndsTheConnectionAfterATimeout) {
    const RealServer server;
    RawClient slow(AUDIO_CONNECT_APP_SETTING, "slow");
    RawClient idle(AUDIO_CONNECT_VERSION_SETTING, "idle");
    slow.send(halfOfRequest(slow));
    EXPECT_TRUE(slow.isClosedByServer());
    EXPECT_THAT(server.output(), HasSubstr("\"slow\": does not finish its message"));
    EXPECT_EQ(idle.call(bytesOf(wire::FunctionRequest{0}), 32).size(), 32U)
        << "between messages a client may take its time";
}

TEST(UnfinishedCommandLine, EndsTheConnectionAfterATimeout) {
    const RealServer server;
    const ControlClient half;
    const ControlClient idle;
    half.say("sta");
    EXPECT_EQ(half.line(), "(closed)");
    EXPECT_THAT(idle.ask("state"), StartsWith("{")) << "before a line it may take its time";
}

/// The rest arrives in time, but the server is stalled and reads it later.
TEST(UnfinishedMessage, IsReadAfterAPauseOfTheServer) {
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
