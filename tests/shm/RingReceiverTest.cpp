// SPDX-License-Identifier: Apache-2.0
// How a ring notifies its callback of the other side's posts.
#include "shm/SharedSemaphore.h"
#include "tests/shm/Platform.h"
#include "tests/shm/RingFixture.h"
#include "tests/support/Logged.h"
#include "tests/support/OnThreads.h"
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

class RingReceiver : public RingFixture {
protected:
    const ProcessState before = ProcessState::now();
    Notifications notifications;

    /// A ring of this side alone, with a receiver of writes.
    std::unique_ptr<ShareMemoryEx> makeReader() {
        return posix(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
    }
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
    /// Deletes a ring while the other side does this again and again.
    /// @param prepare  runs before, with the receiver's semaphore
    template <typename Prepare, typename Interfere>
    void expectEndDuring(Prepare prepare, Interfere interfere) {
        auto ring = makeReader();
        const Object object(posixName(), 64);
        prepare(object.header().readSem);
        std::atomic<unsigned> rounds{0};
        std::atomic<bool> stop{false};
        std::thread other([&] {
            for (; !stop; ++rounds)
                interfere(object.header().readSem);
        });
        EXPECT_TRUE(eventually([&] { return rounds > 0; }));
        ring.reset();
        stop = true;
        other.join();
        EXPECT_EQ(notifications.count(), 0u);
    }
    static void initialise(wire::SemaphoreSlot& slot) {
        EXPECT_EQ(cabinaudio::sem_init((cabinaudio::sem_t*)&slot, 1, 0), 0);
    }
};

/// A ring whose receiver sleeps, and whose semaphore the tests post to.
class SleepingReceiver : public RingReceiver {
protected:
    void SetUp() override { ASSERT_TRUE(sleeps(slot)); }

    std::unique_ptr<ShareMemoryEx> ring = makeReader();
    const Object object{posixName(), 64};
    wire::SemaphoreSlot& slot = object.header().readSem;
    const LogCapture log;
};

TEST_F(RingReceiver, OfAReaderIsNotifiedOfWrites) {
    const auto reader = makeReader();
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

TEST_F(RingReceiver, OfAWriterIsNotifiedOfReads) {
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

TEST_F(RingReceiver, OfAPhysicalRingIsNotifiedOfWrites) {
    const auto reader = physical(64, SHM_MODE_CREATOR | SHM_MODE_READER, &notifications);
    const auto writer = physical(64, 0);
    const auto bytes = pattern(4);
    EXPECT_EQ(writer->write(bytes.data(), 4), 4);
    EXPECT_TRUE(notifications.waitFor(1));
    EXPECT_EQ(reader->getUsedSize(), 4u);
}

TEST_F(SleepingReceiver, NotifiesOncePerPost) {
    notifications.close();
    postTo(slot);
    ASSERT_TRUE(notifications.waitFor(1));
    for (int i = 0; i < 3; ++i)
        postTo(slot);
    EXPECT_EQ(postsIn(slot), 3u);
    EXPECT_EQ(notifications.count(), 1u);
    notifications.open();
    EXPECT_TRUE(notifications.waitFor(4));
    EXPECT_TRUE(sleeps(slot));
    EXPECT_EQ(notifications.count(), 4u);
}

TEST_F(RingReceiver, NotifiesOfPostsThatPrecedeIt) {
    const auto other = posix(64);
    const Object object(posixName(), 64);
    for (int i = 0; i < 3; ++i)
        postTo(object.header().readSem);
    const auto ring = posix(64, SHM_MODE_READER, &notifications);
    EXPECT_TRUE(notifications.waitFor(3));
    EXPECT_TRUE(sleeps(object.header().readSem));
    EXPECT_EQ(notifications.count(), 3u);
}

TEST_F(SleepingReceiver, NotifiesOncePerPostInABurst) {
    constexpr unsigned STORM = 2000;
    onThreads(2, [&](int) {
        for (unsigned i = 0; i < STORM; ++i)
            postTo(slot);
    });
    EXPECT_TRUE(notifications.waitFor(2 * STORM));
    EXPECT_TRUE(sleeps(slot));
    EXPECT_EQ(notifications.count(), 2 * STORM);
}

TEST_F(RingReceiver, OfBothDirectionsIsNotifiedOfWrites) {
    const auto ring = posix(64, 6, &notifications);
    const Object object(posixName(), 64);
    EXPECT_EQ(object.header().readNotify, 1);
    EXPECT_EQ(object.header().writeNotify, 0);
    postTo(object.header().readSem);
    EXPECT_TRUE(notifications.waitFor(1));
}

TEST_F(RingReceiver, RefusesAModeWithoutReaderOrWriter) {
    const LogCapture log;
    const auto ring = posix(64, SHM_MODE_CREATOR, &notifications);
    EXPECT_TRUE(ring->isUsable());
    EXPECT_TRUE(
        logged(log, ERROR, "ShareMemory", "initShmNotificationReceiver", "invalid mode:0x1\n"));
    EXPECT_EQ(ProcessState::now().threads, before.threads);
    const auto another = physical(64, 0xff0, &notifications);
    EXPECT_TRUE(logged(log, ERROR, "invalid mode:0xff0\n"));
}

TEST_F(RingReceiver, IsNotStartedWithoutACallback) {
    const LogCapture log;
    const auto ring = posix(64, 7);
    const Object object(posixName(), 64);
    EXPECT_EQ(object.header().readNotify, 0);
    EXPECT_EQ(object.header().writeNotify, 0);
    EXPECT_EQ(ProcessState::now().threads, before.threads);
    EXPECT_TRUE(loggedLike(log, ERROR, ".*", 0));
}

TEST_F(RingReceiver, IsNamedAfterTheObject) {
    const ShareMemoryEx ring(SHM_TYPE_PHYS_MEM, "trk", addressOf(0x1000), 64, 3, &notifications);
    EXPECT_TRUE(eventually([] {
        const auto names = threadNames();
        return std::find(names.begin(), names.end(), "AS-trk_0x1000") != names.end();
    }));
}

TEST_F(RingReceiver, EndsAtOnceWithoutANotification) {
    auto ring = makeReader();
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

TEST_F(RingReceiver, EndsWhileTheOtherSideKeepsWriting) {
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

TEST_F(RingReceiver, EndsImmediatelyAfterItsCreation) {
    for (int i = 0; i < 200; ++i)
        posix(64, SHM_MODE_CREATOR | SHM_MODE_WRITER, &notifications);
    EXPECT_EQ(notifications.count(), 0u);
    EXPECT_TRUE(returnsTo(before));
}

TEST_F(SleepingReceiver, EndsAfterTheNotificationUnderWay) {
    notifications.close();
    for (int i = 0; i < 3; ++i)
        postTo(slot);
    ASSERT_TRUE(notifications.waitFor(1));
    std::thread destroyer([&] { ring.reset(); });
    // The destroyer requests the end with a post of its own.
    EXPECT_TRUE(eventually([&] { return postsIn(slot) == 3; }));
    EXPECT_TRUE(log.waitForMatching(DEBUG, "delete shared memory.*\n"));
    notifications.open();
    destroyer.join();
    EXPECT_EQ(notifications.count(), 1u);
}

TEST_F(RingReceiver, EndsAlthoughTheOtherSideInitialisedItsSemaphore) {
    for (int i = 0; i < 20; ++i) {
        auto ring = makeReader();
        Object object(posixName(), 64);
        ASSERT_TRUE(sleeps(object.header().readSem));
        initialise(object.header().readSem);
        ring.reset();
        EXPECT_EQ(notifications.count(), 0u);
        // With 32 bits the counter is a word of its own, and the sleeper removes itself from it all
        // the same, as the C library's do.
        if (sizeof(void*) == 8) {
            EXPECT_EQ(sleepers(object.header().readSem), 0u) << "it was not counted any more";
        }
    }
    EXPECT_TRUE(returnsTo(before));
}

TEST_F(RingReceiver, EndsAlthoughTheOtherSideKeepsInitialisingItsSemaphore) {
    for (int i = 0; i < 10; ++i)
        expectEndDuring([](wire::SemaphoreSlot&) {},
                        [](wire::SemaphoreSlot& slot) {
                            std::memset(&slot, 0, sizeof slot);
                            std::this_thread::sleep_for(std::chrono::milliseconds(1));
                        });
}

/// Faster than the receiver can wake up, for 30 ms. The owner posts until the receiver has.
TEST_F(RingReceiver, EndsAlthoughTheOtherSideRemovesItsPosts) {
    using Clock = std::chrono::steady_clock;
    for (int i = 0; i < 5; ++i) {
        Clock::time_point end;
        expectEndDuring(
            [&](wire::SemaphoreSlot& slot) {
                ASSERT_TRUE(sleeps(slot));
                end = Clock::now() + std::chrono::milliseconds(30);
            },
            [&](wire::SemaphoreSlot& slot) {
                const std::atomic_ref<std::uint32_t> value(slot.word[0]);
                if (Clock::now() >= end) return;
                for (int k = 0; k < 100; ++k)
                    value = 0;
            });
    }
}

TEST_F(RingReceiver, OfAReaderIsNotifiedByACreatorThatCameLater) {
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

TEST_F(RingReceiver, OfAWriterIsNotifiedByACreatorThatCameLater) {
    const auto writer = posix(64, SHM_MODE_WRITER, &notifications);
    const Object object(posixName(), 64);
    ASSERT_TRUE(sleeps(object.header().writeSem));
    const auto reader = posix(64);
    unsigned char byte = 0;
    EXPECT_EQ(reader->read(&byte, 1), 0);
    EXPECT_TRUE(notifications.waitFor(1));
}

TEST_F(SleepingReceiver, EndsAndLogsWhenItsLastPostFails) {
    std::atomic_ref<std::uint32_t>(slot.word[0]) = 0xffffffff;
    ring.reset();
    EXPECT_TRUE(logged(log, DEBUG, "ShareMemory", "uninitShmNotificationReceiver",
                       "AUDIO IGNORE(!sem_post(hdl->recevierSem))!\n"));
    EXPECT_EQ(notifications.count(), 0u);
}

TEST_F(SleepingReceiver, EndsItsThreadWhenTheWaitFails) {
    {
        const Failing wait("sem_wait", EINTR);
        postTo(slot);
        const std::string message = std::string("sem_wait failed:") + std::strerror(EINTR) + "\n";
        ASSERT_TRUE(log.waitFor(ERROR, message)) << log.dump();
        EXPECT_TRUE(logged(log, ERROR, "ShareMemory", "run", message));
    }
    EXPECT_EQ(notifications.count(), 1u);
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads == before.threads; }));
    postTo(slot);
    ring.reset();
    EXPECT_EQ(notifications.count(), 1u);
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads == before.threads; }));
}

TEST_F(SleepingReceiver, IgnoresSignals) {
    struct sigaction action = {};
    struct sigaction previous = {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGUSR1, &action, &previous), 0);
    for (int i = 0; i < 100; ++i)
        kill(getpid(), SIGUSR1);
    postTo(slot);
    EXPECT_TRUE(notifications.waitFor(1));
    EXPECT_TRUE(loggedLike(log, ERROR, ".*", 0));
    EXPECT_EQ(sigaction(SIGUSR1, &previous, nullptr), 0);
}

TEST_F(RingReceiver, ThatCannotStartLeavesTheRingUsable) {
    const LogCapture log;
    {
        const Failing create("pthread_create", EAGAIN);
        const auto ring = makeReader();
        EXPECT_TRUE(create.happened());
        EXPECT_TRUE(ring->isUsable());
        EXPECT_TRUE(loggedLike(log, ERROR, "Fail to start thread\\(AS-ThatCannotSt\\).*\n"));
    }
    EXPECT_TRUE(returnsTo(before));
}

TEST_F(RingReceiver, LogsADeadlockWhenItDestroysItsOwnRing) {
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

// ---- Its thread ---------------------------------------------------------------------------------

TEST_F(RingReceiver, HasAStackOfOneMebibyte) {
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
