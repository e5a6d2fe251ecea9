// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/link/RemoteCall.h>

#include "tests/link/LinkFixture.h"
#include "tests/support/Scheduling.h"
#include "tests/support/Stack.h"

#include <list>

namespace cabinaudio::test {
namespace {

/// The threads of a connection, as their callbacks see them.
class LinkThread : public ::testing::Test {
protected:
    void SetUp() override {
        if (!Scheduling::isRealTimeAllowed()) GTEST_SKIP() << "real-time threads are refused";
        box.onTake = [this](const Notification&) { seen = Scheduling::ofThisThread(); };
    }

    ScriptedServer server;
    Scheduling seen;  // written before the box has its notification
    Mailbox box;
};

TEST_F(LinkThread, ThatReceivesRunsInRealTimeAtTheHighestPriority) {
    const AudioConnection connection(wire::SERVER_SOCKET, 0, &Mailbox::take, &box);
    ASSERT_TRUE(server.waitForClients(1));
    server.notify(1, 2);
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_EQ(seen, Scheduling::realTime());
}

TEST_F(LinkThread, ThatNotifiesRunsInRealTimeAtTheHighestPriority) {
    RemoteCall call(AUDIO_CONNECT_MAIN, &Mailbox::take, &box, "name");
    ASSERT_EQ(call.initCheck(), 0);
    server.notify(1, 2);
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_EQ(seen, Scheduling::realTime());
}

/// Runs on a new thread, and measures its stack first.
struct Body {
    void* (*entry)(void*);
    void* argument;
    std::promise<std::size_t> stack;
};

void* measure(void* opaque) {
    auto* const body = static_cast<Body*>(opaque);
    body->stack.set_value(stackBytes());
    return body->entry(body->argument);
}

TEST(RemoteCallThreads, HaveStacksOfOneMebibyte) {
    ScriptedServer server;
    std::list<Body> bodies;
    {
        const Replaced<platform::pthread_create> replaced(
            [&](pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                void* argument) {
                bodies.push_back({entry, argument, {}});
                return platform::pthread_create.real(thread, attributes, measure, &bodies.back());
            });
        Mailbox box;
        RemoteCall call(AUDIO_CONNECT_MAIN, &Mailbox::take, &box, "stacks");
        ASSERT_TRUE(server.waitForClients(1));
    }
    ASSERT_EQ(bodies.size(), 2U);  // for replies and for notifications
    for (Body& body : bodies) {
        const std::size_t bytes = body.stack.get_future().get();
        EXPECT_TRUE(isLibraryStack(bytes)) << bytes;
    }
}

}  // namespace
}  // namespace cabinaudio::test
