// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/link/RemoteCall.h>

#include "tests/link/LinkFixture.h"
#include "tests/support/ProcessState.h"

#include <android/log.h>
#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>
#include <thread>

namespace cabinaudio::test {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

class RemoteCallNotification : public RemoteCallFixture {};

TEST_F(RemoteCallNotification, ReachesTheOwner) {
    connect();
    server.notify(0x12345678, 0x89abcdef);
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_THAT(box.taken(), ElementsAre(Notification{0x12345678, 0x89abcdef}));
}

TEST_F(RemoteCallNotification, DoesNotBlockRequestsWhileTheOwnerIsBusy) {
    std::atomic<bool> released = false;
    Counter entered;
    box.onTake = [&](const Notification&) {
        entered.add();
        EXPECT_TRUE(eventually([&] { return released.load(); }));
    };
    connect();
    server.notify(1, 1);
    ASSERT_TRUE(entered.waitFor(1));
    // With the owner busy, neither requests nor their replies are held up.
    EXPECT_EQ(call->callFuncId(1, false), 0);
    released = true;
    EXPECT_TRUE(box.waitFor(1));
}

TEST_F(RemoteCallNotification, ArrivesInOrderWhenThousandsAreQueued) {
    constexpr std::uint32_t COUNT = 5000;
    std::atomic<bool> released = false;
    box.onTake = [&](const Notification& notification) {
        if (notification.event != 0) return;
        EXPECT_TRUE(eventually([&] { return released.load(); }));
    };
    connect();
    for (std::uint32_t i = 0; i < COUNT; ++i)
        server.notify(i, COUNT - i);
    // The reply follows the notifications, so all of them are queued by now.
    EXPECT_EQ(call->callFuncId(1, false), 0);
    EXPECT_THAT(box.taken(), SizeIs(0));
    released = true;
    ASSERT_TRUE(box.waitFor(COUNT));
    const auto taken = box.taken();
    ASSERT_THAT(taken, SizeIs(COUNT));
    for (std::uint32_t i = 0; i < COUNT; ++i)
        ASSERT_EQ(taken[i], (Notification{i, COUNT - i}));
}

TEST_F(RemoteCallNotification, MayBeAnsweredWithARequest) {
    std::atomic<RemoteCall*> own = nullptr;
    std::atomic<std::int32_t> status = -1;
    server.on(8, Answer::status(31));
    box.onTake = [&](const Notification&) { status = own.load()->callFuncId(8, false); };
    connect();
    own = call.get();
    server.notify(1, 1);
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_EQ(status, 31);
}

TEST_F(RemoteCallNotification, Is255WhenTheServerIsGone) {
    connect();
    server.close();
    ASSERT_TRUE(box.waitFor(1));
    EXPECT_THAT(box.taken(), ElementsAre(Notification{255, 0}));
    EXPECT_TRUE(loggedLike(log, ERROR, "service may be crash!!! mIsStall:0, errno:.* [0-9]+\n"));
}

TEST_F(RemoteCallNotification, IsDroppedSilentlyWithoutACallback) {
    RemoteCall deaf(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
    for (std::uint32_t i = 0; i < 100; ++i)
        server.notify(i, i);
    EXPECT_EQ(deaf.callFuncId(1, false), 0);
    EXPECT_TRUE(loggedLike(log, WARN, "connection cbk is null\n", 0));
}

TEST_F(RemoteCallNotification, IsDeliveredDuringDestructionWhenItWasQueued) {
    std::atomic<bool> released = false;
    Counter entered;
    box.onTake = [&](const Notification& notification) {
        entered.add();
        if (notification.event != 1) return;
        EXPECT_TRUE(eventually([&] { return released.load(); }));
    };
    connect();
    for (std::uint32_t i = 1; i <= 3; ++i)
        server.notify(i, 0);
    EXPECT_EQ(call->callFuncId(1, false), 0);
    ASSERT_TRUE(entered.waitFor(1));
    std::thread ending([&] { call.reset(); });
    EXPECT_TRUE(log.waitForMatching(DEBUG, "close socket fd:[0-9]+"));
    released = true;
    ending.join();
    EXPECT_THAT(box.taken(),
                ElementsAre(Notification{1, 0}, Notification{2, 0}, Notification{3, 0}));
    EXPECT_TRUE(loggedLike(log, WARN, "\\[.*\\]drop msg:.*\n", 0));
}

TEST_F(RemoteCallNotification, IsLoggedAndDroppedAtTheEndWithoutANotifierThread) {
    {
        // The notifier is the first thread of the two.
        const RefusedThreads refused(1);
        connect();
        EXPECT_EQ(refused.threads(), 2);
    }
    for (std::uint32_t i = 0; i < 3; ++i)
        server.notify(i, 0);
    EXPECT_EQ(call->callFuncId(1, false), 0);
    call.reset();
    char owner[32];
    std::snprintf(owner, sizeof owner, "%p", static_cast<void*>(&box));
    EXPECT_TRUE(loggedLike(log, WARN, "\\[" + std::string(owner) + "\\]drop msg:0x[0-9a-f]+\n", 3));
    const auto lines = log.lines();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const LogLine& line) {
                                return line.text.rfind("[RemoteCall][~RemoteCallNotifierWorker][",
                                                       0) == 0;
                            }),
              3);
    EXPECT_THAT(box.taken(), SizeIs(0));
}

TEST(RemoteCallNotificationDeathTest, AssertsThatThereIsAnOwner) {
    // A process under an emulator cannot execute itself; nothing else runs in it here.
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_DEATH(
        {
            __android_log_set_logger(__android_log_stderr_logger);
            RemoteCall::notifyCbk(nullptr, 1, 2);
        },
        "\\[RemoteCall\\]\\[notifyCbk\\]\\[[0-9]+\\]AUDIO ASSERT\\(NULL != opaque\\)!");
}

}  // namespace
}  // namespace cabinaudio::test
