// SPDX-License-Identifier: Apache-2.0
// The semaphores in a ring's header. On a 32-bit build they are the platform's, and the tests
// define the encoding of the other builds.
#include "shm/SharedSemaphore.h"
#include "tests/support/OnThreads.h"
#include "tests/support/ProcessState.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <thread>
#include <vector>

namespace cabinaudio::test {
namespace {

class SharedSemaphore : public ::testing::Test {
protected:
    wire::SemaphoreSlot slot = {{1, 2, 3, 4}};
    cabinaudio::sem_t* const semaphore = (cabinaudio::sem_t*)&slot;

    SharedSemaphore() { EXPECT_EQ(cabinaudio::sem_init(semaphore, 1, 0), 0); }
    ~SharedSemaphore() override { EXPECT_EQ(cabinaudio::sem_destroy(semaphore), 0); }

    void post() { EXPECT_EQ(cabinaudio::sem_post(semaphore), 0); }
    void wait() { EXPECT_EQ(cabinaudio::sem_wait(semaphore), 0); }
    /// A thread that waits, in the kernel when this returns.
    std::thread sleeper() {
        std::thread thread([this] { wait(); });
        EXPECT_TRUE(eventually([&] { return word(0) == 1 && word(3) == 1; }));
        return thread;
    }
    std::uint32_t word(int index) {
        return std::atomic_ref<std::uint32_t>(slot.word[index]).load();
    }
    bool waitersBecome(std::uint32_t count) {
        return eventually([&] { return word(3) == count; });
    }
};

TEST_F(SharedSemaphore, CountsAboveItsLowestBit) {
    EXPECT_EQ(word(0), 0u);
    EXPECT_EQ(word(1), 128u);
    EXPECT_EQ(word(3), 0u);
    EXPECT_FALSE(semaphoreHasPost(semaphore));
    post();
    EXPECT_EQ(word(0), 2u);
    EXPECT_TRUE(semaphoreHasPost(semaphore));
    post();
    EXPECT_EQ(word(0), 4u);
    wait();
    wait();
    EXPECT_EQ(word(0), 0u);
    EXPECT_EQ(word(3), 0u);
}

TEST_F(SharedSemaphore, StartsWithItsFirstCount) {
    EXPECT_EQ(cabinaudio::sem_init(semaphore, 0, 3), 0);
    EXPECT_EQ(word(0), 6u);
    EXPECT_EQ(word(1), 0u);
    EXPECT_EQ(cabinaudio::sem_init(semaphore, 1, 0x80000000), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(SharedSemaphore, MarksItsSleepers) {
    std::thread thread = sleeper();
    post();
    thread.join();
    EXPECT_EQ(word(0), 0u);
    EXPECT_EQ(word(3), 0u);
}

TEST_F(SharedSemaphore, RefusesAPostBeyondTheLargestCount) {
    slot.word[0] = 0xfffffffe;
    EXPECT_EQ(cabinaudio::sem_post(semaphore), -1);
    EXPECT_EQ(errno, EOVERFLOW);
    EXPECT_EQ(word(0), 0xfffffffeu);
    wait();
    EXPECT_EQ(word(0), 0xfffffffcu);
}

TEST_F(SharedSemaphore, LosesNoPostBetweenManyThreads) {
    constexpr int THREADS = 4;
    constexpr int POSTS = 2000;
    std::atomic<int> taken{0};
    onThreads(2 * THREADS, [&](int thread) {
        for (int n = 0; n < POSTS; ++n) {
            if (thread % 2 == 0)
                post();
            else if (cabinaudio::sem_wait(semaphore) == 0)
                ++taken;
        }
    });
    EXPECT_EQ(taken, THREADS * POSTS);
    EXPECT_FALSE(semaphoreHasPost(semaphore));
    EXPECT_EQ(word(3), 0u);
}

TEST_F(SharedSemaphore, WakesAllOfSeveralSleepers) {
    std::vector<std::thread> sleepers;
    for (int i = 0; i < 3; ++i)
        sleepers.emplace_back([&] { wait(); });
    EXPECT_TRUE(waitersBecome(3));
    for (int i = 0; i < 3; ++i)
        post();
    for (std::thread& sleeper : sleepers)
        sleeper.join();
    EXPECT_EQ(word(0), 0u);
    EXPECT_EQ(word(3), 0u);
}

TEST_F(SharedSemaphore, WaitEndsWithASignal) {
    struct sigaction action = {};
    struct sigaction previous = {};
    action.sa_handler = [](int) {};  // without SA_RESTART
    ASSERT_EQ(sigaction(SIGUSR2, &action, &previous), 0);
    std::atomic<bool> ended{false};
    int result = 0;
    int error = 0;
    std::thread sleeper([&] {
        result = cabinaudio::sem_wait(semaphore);
        error = errno;
        ended = true;
    });
    EXPECT_TRUE(waitersBecome(1));
    EXPECT_TRUE(eventually([&] {
        if (!ended) pthread_kill(sleeper.native_handle(), SIGUSR2);
        return ended.load();
    }));
    sleeper.join();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(error, EINTR);
    EXPECT_EQ(word(3), 0u);
    EXPECT_EQ(word(0), 0u);
    EXPECT_EQ(sigaction(SIGUSR2, &previous, nullptr), 0);
}

TEST_F(SharedSemaphore, WakesSleepersThatAnInitialisationForgot) {
    std::thread thread = sleeper();
    EXPECT_EQ(cabinaudio::sem_init(semaphore, 1, 0), 0);
    post();
    semaphoreWakeSleepers(semaphore);
    thread.join();
    EXPECT_FALSE(semaphoreHasPost(semaphore));
}

}  // namespace
}  // namespace cabinaudio::test
