// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/link/RemoteCall.h>

#include "tests/link/LinkFixture.h"
#include "tests/support/Scheduling.h"

#include <mutex>

namespace cabinaudio::test {
namespace {

/// The threads of a connection, as their callbacks see them.
class LinksThread : public ::testing::Test {
protected:
    void SetUp() override {
        if (!Scheduling::isRealTimeAllowed()) GTEST_SKIP() << "real-time threads are refused";
        box.onTake = [this](const Notification&) { seen = Scheduling::ofThisThread(); };
    }

    ScriptedServer server;
    Scheduling seen;  // written before the box has its notification
    Mailbox box;
};

TEST_F(LinksThread, ThatReceivesRunsInRealTimeAtTheHighestPriority) {
    const AudioConnection connection(wire::SERVER_SOCKET, 0, &Mailbox::take, &box);
    ASSERT_TRUE(server.waitForClients(1));
    server.notify(1, 2);
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_EQ(seen, Scheduling::realTime());
}

TEST_F(LinksThread, ThatNotifiesRunsInRealTimeAtTheHighestPriority) {
    RemoteCall call(AUDIO_CONNECT_MAIN, &Mailbox::take, &box, "name");
    ASSERT_EQ(call.initCheck(), 0);
    server.notify(1, 2);
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_EQ(seen, Scheduling::realTime());
}

}  // namespace
}  // namespace cabinaudio::test
