// SPDX-License-Identifier: Apache-2.0
// The semaphores in a ring's header. On a 32-bit build they are the platform's, and the tests say
// what the other builds have to speak.
#include "shm/SharedSemaphore.h"
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

class ASharedSemaphore : public ::testing::Test {
protected:
    wire::SemaphoreSlot slot = {{1, 2, 3, 4}};
    cabinaudio::sem_t* const semaphore = (cabinaudio::sem_t*)&slot;

    ASharedSemaphore() { EXPECT_EQ(cabinaudio::sem_init(semaphore, 1, 0), 0); }
    ~ASharedSemaphore() override { EXPECT_EQ(cabinaudio::sem_destroy(semaphore), 0); }

    std::uint32_t word(int index) {
        return std::atomic_ref<std::uint32_t>(slot.word[index]).load();
    }
    bool waitersBecome(std::uint32_t count) {
        return eventually([&] { return word(3) == count; });
    }
};

TEST_F(ASharedSemaphore, CountsAboveItsLowestBit) {
    EXPECT_EQ(word(0), 0u);
    EXPECT_EQ(word(1), 128u);
    EXPECT_EQ(word(3), 0u);
    EXPECT_FALSE(semaphoreHasPost(semaphore));
    EXPECT_EQ(cabinaudio::sem_post(semaphore), 0);
    EXPECT_EQ(word(0), 2u);
    EXPECT_TRUE(semaphoreHasPost(semaphore));
    EXPECT_EQ(cabinaudio::sem_post(semaphore), 0);
    EXPECT_EQ(word(0), 4u);
    EXPECT_EQ(cabinaudio::sem_wait(semaphore), 0);
    EXPECT_EQ(cabinaudio::sem_wait(semaphore), 0);
    EXPECT_EQ(word(0), 0u);
    EXPECT_EQ(word(3), 0u);
}

TEST_F(ASharedSemaphore, TakesItsFirstCount) {
    EXPECT_EQ(cabinaudio::sem_init(semaphore, 0, 3), 0);
    EXPECT_EQ(word(0), 6u);
    EXPECT_EQ(word(1), 0u);
    EXPECT_EQ(cabinaudio::sem_init(semaphore, 1, 0x80000000), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(ASharedSemaphore, MarksItsSleepers) {
    std::thread sleeper([&] { EXPECT_EQ(cabinaudio::sem_wait(semaphore), 0); });
    EXPECT_TRUE(waitersBecome(1));
    EXPECT_TRUE(eventually([&] { return word(0) == 1; }));
    EXPECT_EQ(cabinaudio::sem_post(semaphore), 0);
    sleeper.join();
    EXPECT_EQ(word(0), 0u);
    EXPECT_EQ(word(3), 0u);
}

TEST_F(ASharedSemaphore, RefusesAPostTooMany) {
    slot.word[0] = 0xfffffffe;
    EXPECT_EQ(cabinaudio::sem_post(semaphore), -1);
    EXPECT_EQ(errno, EOVERFLOW);
    EXPECT_EQ(word(0), 0xfffffffeu);
    EXPECT_EQ(cabinaudio::sem_wait(semaphore), 0);
    EXPECT_EQ(word(0), 0xfffffffcu);
}

TEST_F(ASharedSemaphore, LosesNoPostBetweenManyThreads) {
    constexpr int THREADS = 4;
    constexpr int POSTS = 2000;
    std::atomic<int> taken{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < POSTS; ++n)
                if (cabinaudio::sem_wait(semaphore) == 0) ++taken;
        });
        threads.emplace_back([&] {
            for (int n = 0; n < POSTS; ++n)
                EXPECT_EQ(cabinaudio::sem_post(semaphore), 0);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(taken, THREADS * POSTS);
    EXPECT_FALSE(semaphoreHasPost(semaphore));
    EXPECT_EQ(word(3), 0u);
}

TEST_F(ASharedSemaphore, WakesAllOfSeveralSleepers) {
    std::vector<std::thread> sleepers;
    for (int i = 0; i < 3; ++i)
        sleepers.emplace_back([&] { EXPECT_EQ(cabinaudio::sem_wait(semaphore), 0); });
    EXPECT_TRUE(waitersBecome(3));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(cabinaudio::sem_post(semaphore), 0);
    for (std::thread& sleeper : sleepers)
        sleeper.join();
    EXPECT_EQ(word(0), 0u);
    EXPECT_EQ(word(3), 0u);
}

TEST_F(ASharedSemaphore, EndsAWaitWithASignal) {
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

TEST_F(ASharedSemaphore, ReachesSleepersThatAnInitialisationForgotByStirring) {
    std::thread sleeper([&] { EXPECT_EQ(cabinaudio::sem_wait(semaphore), 0); });
    EXPECT_TRUE(eventually([&] { return word(0) == 1 && word(3) == 1; }));
    EXPECT_EQ(cabinaudio::sem_init(semaphore, 1, 0), 0);
    EXPECT_EQ(cabinaudio::sem_post(semaphore), 0);
    semaphoreWakeSleepers(semaphore);
    sleeper.join();
    EXPECT_FALSE(semaphoreHasPost(semaphore));
}

}  // namespace
}  // namespace cabinaudio::test
