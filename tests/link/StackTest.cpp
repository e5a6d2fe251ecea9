// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/link/RemoteCall.h>

#include "tests/link/LinkFixture.h"
#include "tests/support/Stack.h"

#include <list>

namespace cabinaudio::test {
namespace {

/// What a new thread runs: looks at its stack first.
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
        const platform::Replace replaced(
            platform::pthreadCreateSlot, [&](pthread_t* thread, const pthread_attr_t* attributes,
                                             void* (*entry)(void*), void* argument) {
                bodies.push_back({entry, argument, {}});
                return platform::real::pthread_create(thread, attributes, measure, &bodies.back());
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
