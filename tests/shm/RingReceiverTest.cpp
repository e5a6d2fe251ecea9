// SPDX-License-Identifier: Apache-2.0
// How a ring tells its callback of the other side's posts.
#include "shm/SharedSemaphore.h"
#include "tests/shm/Platform.h"
#include "tests/shm/RingFixture.h"
#include "tests/support/Logged.h"
#include "tests/support/ProcessState.h"
#include "tests/support/Stack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>

namespace cabinaudio::test {
namespace {

class AReceiver : public Ring {
protected:
    const ProcessState before = ProcessState::now();
    Notifications notifications;

    /// Number of threads that sleep on the semaphore, as it knows.
    static std::uint32_t sleepers(wire::SemaphoreSlot& slot) {
        return std::atomic_ref<std::uint32_t>(slot.word[3]).load();
    }
    /// The receiver counts itself first, and goes to sleep then.
    static bool sleeps(wire::SemaphoreSlot& slot) {
        return eventually([&] { return sleepers(slot) == 1 && threadsSleep("AS-"); });
    }
    static void postTo(wire::SemaphoreSlot& slot) {
        EXPECT_EQ(cabinaudio::sem_post((cabinaudio::sem_t*)&slot), 0);
    }
    static void initialise(wire::SemaphoreSlot& slot) {
        EXPECT_EQ(cabinaudio::sem_init((cabinaudio::sem_t*)&slot, 1, 0), 0);
    }
};

TEST_F(AReceiver, OfAReaderHearsOfWrites) {
    const auto reader = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
    const auto writer = posix(64, 0);
    const Object object(posixName(), 64);
    EXPECT_EQ(object.header().readNotify, 1);
    EXPECT_EQ(object.header().writeNotify, 0);

    const auto bytes = pattern(4);
    EXPECT_EQ(writer->write(bytes.data(), 4), 4);
    EXPECT_TRUE(notifications.waitFor(1));
    writer->updateWriteOffset(6);
    EXPECT_TRUE(notifications.waitFor(2));
}

TEST_F(AReceiver, OfAWriterHearsOfReads) {
    const auto reader = posix(64);
    const auto writer = posix(64, SHM_MODE_WRITER, &notifications);
    const Object object(posixName(), 64);
    EXPECT_EQ(object.header().readNotify, 0);
    EXPECT_EQ(object.header().writeNotify, 1);

    unsigned char byte = 0;
    EXPECT_EQ(reader->read(&byte, 1), 0);
    EXPECT_TRUE(notifications.waitFor(1));
    reader->updateReadOffset(0);
    writer->setWait(true);
    reader->updateReadOffset(0);
    EXPECT_TRUE(notifications.waitFor(2));
    reader->updateReadOffset(0);
    EXPECT_TRUE(notifications.waitFor(3));
    writer->setWait(false);
    reader->updateReadOffset(0);
    EXPECT_EQ(reader->read(&byte, 1), 0);
    EXPECT_TRUE(notifications.waitFor(4));
    EXPECT_TRUE(sleeps(object.header().writeSem));
    EXPECT_EQ(notifications.count(), 4u);
}

TEST_F(AReceiver, OfAPhysicalRingHearsOfWritesToo) {
    const auto reader = physical(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
    const auto writer = physical(64, 0);
    const auto bytes = pattern(4);
    EXPECT_EQ(writer->write(bytes.data(), 4), 4);
    EXPECT_TRUE(notifications.waitFor(1));
    EXPECT_EQ(reader->getUsedSize(), 4u);
}

TEST_F(AReceiver, HearsEveryPost) {
    const auto ring = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
    const Object object(posixName(), 64);
    notifications.close();
    postTo(object.header().readSem);
    ASSERT_TRUE(notifications.waitFor(1));
    for (int i = 0; i < 3; ++i)
        postTo(object.header().readSem);
    EXPECT_EQ(postsIn(object.header().readSem), 3u);
    EXPECT_EQ(notifications.count(), 1u);
    notifications.open();
    EXPECT_TRUE(notifications.waitFor(4));
    EXPECT_TRUE(sleeps(object.header().readSem));
    EXPECT_EQ(notifications.count(), 4u);
}

TEST_F(AReceiver, HearsThePostsOfBeforeItRan) {
    const auto other = posix(64);
    const Object object(posixName(), 64);
    for (int i = 0; i < 3; ++i)
        postTo(object.header().readSem);
    const auto ring = posix(64, SHM_MODE_READER, &notifications);
    EXPECT_TRUE(notifications.waitFor(3));
    EXPECT_TRUE(sleeps(object.header().readSem));
    EXPECT_EQ(notifications.count(), 3u);
}

TEST_F(AReceiver, HearsAStormOfPosts) {
    const auto ring = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
    const Object object(posixName(), 64);
    constexpr unsigned STORM = 2000;
    std::thread one([&] {
        for (unsigned i = 0; i < STORM; ++i)
            postTo(object.header().readSem);
    });
    std::thread two([&] {
        for (unsigned i = 0; i < STORM; ++i)
            postTo(object.header().readSem);
    });
    one.join();
    two.join();
    EXPECT_TRUE(notifications.waitFor(2 * STORM));
    EXPECT_TRUE(sleeps(object.header().readSem));
    EXPECT_EQ(notifications.count(), 2 * STORM);
}

TEST_F(AReceiver, WithBothDirectionsHearsOfWrites) {
    const auto ring = posix(64, 6, &notifications);
    const Object object(posixName(), 64);
    EXPECT_EQ(object.header().readNotify, 1);
    EXPECT_EQ(object.header().writeNotify, 0);
    postTo(object.header().readSem);
    EXPECT_TRUE(notifications.waitFor(1));
}

TEST_F(AReceiver, NeedsADirection) {
    const LogCapture log;
    const auto ring = posix(64, SHM_MODE_CREATOR, &notifications);
    EXPECT_TRUE(ring->isUsable());
    EXPECT_TRUE(
        logged(log, ERROR, "ShareMemory", "initShmNotificationReceiver", "invalid mode:0x1\n"));
    EXPECT_EQ(ProcessState::now().threads, before.threads);
    const auto another = physical(64, 0xff0, &notifications);
    EXPECT_TRUE(logged(log, ERROR, "invalid mode:0xff0\n"));
}

TEST_F(AReceiver, NeedsACallback) {
    const LogCapture log;
    const auto ring = posix(64, 7);
    const Object object(posixName(), 64);
    EXPECT_EQ(object.header().readNotify, 0);
    EXPECT_EQ(object.header().writeNotify, 0);
    EXPECT_EQ(ProcessState::now().threads, before.threads);
    EXPECT_TRUE(loggedLike(log, ERROR, ".*", 0));
}

TEST_F(AReceiver, IsNamedAfterTheObject) {
    const ShareMemoryEx ring(SHM_TYPE_PHYS_MEM, "trk", addressOf(0x1000), 64, 3, &notifications);
    EXPECT_TRUE(eventually([] {
        const auto names = threadNames();
        return std::find(names.begin(), names.end(), "AS-trk_0x1000") != names.end();
    }));
}

TEST_F(AReceiver, EndsAtOnceWithoutANotification) {
    auto ring = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
    {
        const Object object(posixName(), 64);
        ASSERT_TRUE(sleeps(object.header().readSem));
    }
    const LogCapture log;
    ring.reset();
    EXPECT_EQ(notifications.count(), 0u);
    EXPECT_TRUE(returnsTo(before));
    EXPECT_EQ(log.lines().size(), 1u) << log.dump();  // that the ring is deleted
}

TEST_F(AReceiver, EndsWhileTheOtherSideGoesOn) {
    for (int i = 0; i < 50; ++i) {
        const auto writer = posix(64);
        auto reader = posix(64, SHM_MODE_READER, &notifications);
        std::atomic<bool> stop{false};
        std::thread other([&] {
            const auto bytes = pattern(8);
            while (!stop) {
                writer->write(bytes.data(), 8);
                writer->clear();
            }
        });
        EXPECT_TRUE(notifications.waitFor(notifications.count() + 1));
        reader.reset();
        const unsigned count = notifications.count();
        stop = true;
        other.join();
        EXPECT_EQ(notifications.count(), count);
    }
}

TEST_F(AReceiver, EndsWhenItWasJustMade) {
    for (int i = 0; i < 200; ++i)
        posix(64, SHM_MODE_CREATOR | SHM_MODE_WRITER, &notifications);
    EXPECT_EQ(notifications.count(), 0u);
    EXPECT_TRUE(returnsTo(before));
}

TEST_F(AReceiver, EndsAfterTheNotificationUnderWay) {
    auto ring = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
    const Object object(posixName(), 64);
    notifications.close();
    for (int i = 0; i < 3; ++i)
        postTo(object.header().readSem);
    ASSERT_TRUE(notifications.waitFor(1));
    const LogCapture log;
    std::thread destroyer([&] { ring.reset(); });
    // The destroyer has asked for the end once its own post is there.
    EXPECT_TRUE(eventually([&] { return postsIn(object.header().readSem) == 3; }));
    EXPECT_TRUE(log.waitForMatching(DEBUG, "delete shared memory.*\n"));
    notifications.open();
    destroyer.join();
    EXPECT_EQ(notifications.count(), 1u);
}

TEST_F(AReceiver, EndsAlthoughTheOtherSideInitialisedItsSemaphore) {
    for (int i = 0; i < 20; ++i) {
        auto ring = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
        Object object(posixName(), 64);
        ASSERT_TRUE(sleeps(object.header().readSem));
        initialise(object.header().readSem);
        ring.reset();
        EXPECT_EQ(notifications.count(), 0u);
        // With 32 bits the counter is a word of its own, and the sleeper takes itself out of it all
        // the same, as the C library's do.
        if (sizeof(void*) == 8) {
            EXPECT_EQ(sleepers(object.header().readSem), 0u) << "it was not counted any more";
        }
    }
    EXPECT_TRUE(returnsTo(before));
}

TEST_F(AReceiver, EndsAlthoughTheOtherSideInitialisesItsSemaphoreAgainAndAgain) {
    for (int i = 0; i < 10; ++i) {
        auto ring = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
        Object object(posixName(), 64);
        std::atomic<unsigned> rounds{0};
        std::atomic<bool> stop{false};
        std::thread other([&] {
            while (!stop) {
                std::memset(&object.header().readSem, 0, sizeof(object.header().readSem));
                ++rounds;
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
        EXPECT_TRUE(eventually([&] { return rounds > 0; }));
        ring.reset();
        stop = true;
        other.join();
        EXPECT_EQ(notifications.count(), 0u);
    }
}

/// Faster than the receiver can wake up. The owner posts until it has.
TEST_F(AReceiver, EndsAlthoughTheOtherSideTakesItsPostsAway) {
    for (int i = 0; i < 5; ++i) {
        auto ring = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
        Object object(posixName(), 64);
        ASSERT_TRUE(sleeps(object.header().readSem));
        std::atomic<unsigned> rounds{0};
        std::thread other([&] {
            const std::atomic_ref<std::uint32_t> value(object.header().readSem.word[0]);
            const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(30);
            for (; std::chrono::steady_clock::now() < end; ++rounds)
                for (int k = 0; k < 100; ++k)
                    value = 0;
        });
        EXPECT_TRUE(eventually([&] { return rounds > 0; }));
        ring.reset();
        other.join();
        EXPECT_EQ(notifications.count(), 0u);
    }
}

TEST_F(AReceiver, HearsOfACreatorWhoCameLater) {
    const auto reader = posix(64, SHM_MODE_READER, &notifications);
    const Object object(posixName(), 64);
    ASSERT_TRUE(sleeps(object.header().readSem));
    const auto writer = posix(64);
    const auto bytes = pattern(4);
    EXPECT_EQ(writer->write(bytes.data(), 4), 4);
    EXPECT_TRUE(notifications.waitFor(1));
    EXPECT_EQ(writer->write(bytes.data(), 4), 4);
    EXPECT_TRUE(notifications.waitFor(2));
}

TEST_F(AReceiver, OfAWriterHearsOfACreatorWhoCameLater) {
    const auto writer = posix(64, SHM_MODE_WRITER, &notifications);
    const Object object(posixName(), 64);
    ASSERT_TRUE(sleeps(object.header().writeSem));
    const auto reader = posix(64);
    unsigned char byte = 0;
    EXPECT_EQ(reader->read(&byte, 1), 0);
    EXPECT_TRUE(notifications.waitFor(1));
}

TEST_F(AReceiver, TellsThatItsLastPostIsLostAndEnds) {
    auto ring = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
    const Object object(posixName(), 64);
    ASSERT_TRUE(sleeps(object.header().readSem));
    std::atomic_ref<std::uint32_t>(object.header().readSem.word[0]) = 0xffffffff;
    const LogCapture log;
    ring.reset();
    EXPECT_TRUE(logged(log, DEBUG, "ShareMemory", "uninitShmNotificationReceiver",
                       "AUDIO IGNORE(!sem_post(hdl->recevierSem))!\n"));
    EXPECT_EQ(notifications.count(), 0u);
}

TEST_F(AReceiver, GivesUpWhenItsWaitFails) {
    const LogCapture log;
    auto ring = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
    const Object object(posixName(), 64);
    ASSERT_TRUE(sleeps(object.header().readSem));
    {
        const Failing wait("sem_wait", EINTR);
        postTo(object.header().readSem);
        const std::string message = std::string("sem_wait failed:") + std::strerror(EINTR) + "\n";
        ASSERT_TRUE(log.waitFor(ERROR, message)) << log.dump();
        EXPECT_TRUE(logged(log, ERROR, "ShareMemory", "run", message));
    }
    EXPECT_EQ(notifications.count(), 1u);
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads == before.threads; }));
    postTo(object.header().readSem);
    ring.reset();
    EXPECT_EQ(notifications.count(), 1u);
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads == before.threads; }));
}

TEST_F(AReceiver, IsNotDisturbedBySignals) {
    struct sigaction action = {};
    struct sigaction previous = {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGUSR1, &action, &previous), 0);
    const LogCapture log;
    const auto ring = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
    const Object object(posixName(), 64);
    ASSERT_TRUE(sleeps(object.header().readSem));
    for (int i = 0; i < 100; ++i)
        kill(getpid(), SIGUSR1);
    postTo(object.header().readSem);
    EXPECT_TRUE(notifications.waitFor(1));
    EXPECT_TRUE(loggedLike(log, ERROR, ".*", 0));
    EXPECT_EQ(sigaction(SIGUSR1, &previous, nullptr), 0);
}

TEST_F(AReceiver, ThatCouldNotBeStartedHoldsUpNothing) {
    const LogCapture log;
    {
        const Failing create("pthread_create", EAGAIN);
        const auto ring = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
        EXPECT_TRUE(create.happened());
        EXPECT_TRUE(ring->isUsable());
        EXPECT_TRUE(loggedLike(log, ERROR, "Fail to start thread\\(AS-ThatCouldNot\\).*\n"));
    }
    EXPECT_TRUE(returnsTo(before));
}

TEST_F(AReceiver, ThatDestroysItsOwnRingIsLeftAlone) {
    struct : ShareMemoryUpdateNotificationCallback {
        void notify() override {
            ring.reset();
            done = true;
        }
        std::unique_ptr<ShareMemoryEx> ring;
        std::atomic<bool> done{false};
    } destroyer;
    const LogCapture log;
    destroyer.ring = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &destroyer);
    destroyer.ring->updateWriteOffset(1);
    EXPECT_TRUE(eventually([&] { return destroyer.done.load(); }));
    // Once for the ring and once for the receiver itself.
    EXPECT_TRUE(log.waitForMatching(ERROR, "Thread\\(AS-.*\\) DEAD LOCK.\n", 2)) << log.dump();
    EXPECT_TRUE(returnsTo(before));
}

// ---- its thread ------------------------------------------------------------------------------

TEST_F(AReceiver, HasAStackOfOneMebibyte) {
    class Measuring : public ShareMemoryUpdateNotificationCallback {
    public:
        void notify() override { stack = stackBytes(); }
        std::atomic<std::size_t> stack{0};
    };
    Measuring measuring;
    const auto reader = posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &measuring);
    const Object object(posixName(), 64);
    postTo(object.header().readSem);
    EXPECT_TRUE(eventually([&] { return measuring.stack != 0; }));
    EXPECT_TRUE(isLibraryStack(measuring.stack)) << measuring.stack;
}

}  // namespace
}  // namespace cabinaudio::test
