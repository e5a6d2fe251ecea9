// SPDX-License-Identifier: Apache-2.0
// A waiter that leaves a semaphore while another one comes. 32-bit builds use the platform's.
#include "shm/Futex.h"
#include "shm/SharedSemaphore.h"
#include "tests/support/ProcessState.h"

#include <gtest/gtest.h>

#if __WORDSIZE == 64

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <thread>

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t WAITERS_BIT = 1;
constexpr std::uint32_t ONE_POST = 2;

/// A semaphore whose value is the last word of a page and whose other words lie in the next one.
/// An access to a protected page is the moment at which the other waiter comes.
class LeavingWaiter : public ::testing::Test {
protected:
    LeavingWaiter() {
        page = static_cast<std::size_t>(getpagesize());
        void* const at =
            mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(at, MAP_FAILED);
        front = static_cast<char*>(at);
        words = reinterpret_cast<volatile std::uint32_t*>(front + page - sizeof(std::uint32_t));
        semaphore = reinterpret_cast<cabinaudio::sem_t*>(front + page - sizeof(std::uint32_t));
        EXPECT_EQ(cabinaudio::sem_init(semaphore, 1, 0), 0);
        struct sigaction action = {};
        action.sa_handler = onFault;
        EXPECT_EQ(sigaction(SIGSEGV, &action, &mPrevious), 0);
        step = IDLE;
    }
    ~LeavingWaiter() override {
        EXPECT_EQ(sigaction(SIGSEGV, &mPrevious, nullptr), 0);
        munmap(front, 2 * page);
    }

    std::thread wait() {
        return std::thread([this] {
            pthread_setname_np(pthread_self(), "leaving");
            EXPECT_EQ(cabinaudio::sem_wait(semaphore), 0);
        });
    }
    /// The waiter's thread sleeps; from now on its next look at the number of waiters, which is the
    /// first step of leaving, is a fault.
    void arm() {
        ASSERT_TRUE(eventually([&] { return std::atomic_ref(semaphore->word[3]).load() == 1; }));
        ASSERT_TRUE(eventually([&] {
            return std::atomic_ref(semaphore->word[0]).load() == WAITERS_BIT &&
                   threadsSleep("leaving");
        }));
        step = BEFORE_LOOKING;
        ASSERT_EQ(mprotect(front + page, page, PROT_NONE), 0);
    }
    /// A word of the semaphore; not before the waiter has left.
    [[nodiscard]] std::uint32_t word(int index) const { return words[index]; }

    enum Step { IDLE, BEFORE_LOOKING, BEFORE_CLEARING, DONE };
    static inline volatile int step = IDLE;
    static inline volatile std::uint32_t arriving = 0;  // value of the semaphore that it leaves
    static inline char* front = nullptr;
    static inline std::size_t page = 0;
    static inline volatile std::uint32_t* words = nullptr;
    cabinaudio::sem_t* semaphore = nullptr;

private:
    /// Plain accesses: a sanitizer's own lock of the word may be held by the access that faulted.
    __attribute__((no_sanitize("thread", "address"))) static void onFault(int) {
        if (step == BEFORE_LOOKING) {
            // It may look, and sees itself alone. Its next write to the value is a fault.
            if (mprotect(front + page, page, PROT_READ | PROT_WRITE) != 0 ||
                mprotect(front, page, PROT_READ) != 0)
                _exit(99);
            step = BEFORE_CLEARING;
        } else if (step == BEFORE_CLEARING) {
            // Another waiter counts itself, sets the bit and goes to sleep.
            if (mprotect(front, page, PROT_READ | PROT_WRITE) != 0) _exit(98);
            words[3] = words[3] + 1;
            words[0] = arriving;
            step = DONE;
        } else {
            _exit(97);
        }
    }

    struct sigaction mPrevious = {};
};

TEST_F(LeavingWaiter, MarksTheSemaphoreAgainForAWaiterThatArrivedMeanwhile) {
    arriving = WAITERS_BIT;
    std::thread leaving = wait();
    arm();
    EXPECT_EQ(cabinaudio::sem_post(semaphore), 0);
    leaving.join();
    EXPECT_EQ(step, DONE);
    EXPECT_EQ(word(3), 1U) << "the other waiter is counted";
    EXPECT_EQ(word(0) & WAITERS_BIT, WAITERS_BIT) << "and a post would wake it";
}

TEST_F(LeavingWaiter, WakesAWaiterWhosePostArrivedMeanwhile) {
    arriving = ONE_POST | WAITERS_BIT;
    std::thread leaving = wait();
    ASSERT_TRUE(eventually([&] { return threadsSleep("leaving"); }));
    // The other waiter, as far as the kernel knows it. The kernel wakes the first waiter first.
    long woken = -1;
    std::thread other([&] {
        pthread_setname_np(pthread_self(), "other");
        const struct timespec bound = {20, 0};
        woken = futexWait(semaphore->word, FUTEX_WAIT, WAITERS_BIT, &bound);
    });
    ASSERT_TRUE(eventually([&] { return threadsSleep("other"); }));
    arm();
    EXPECT_EQ(cabinaudio::sem_post(semaphore), 0);
    leaving.join();
    other.join();
    EXPECT_EQ(step, DONE);
    EXPECT_EQ(woken, 0) << "the post is not consumed";
    EXPECT_EQ(word(0), ONE_POST | WAITERS_BIT);
}

TEST_F(LeavingWaiter, ClearsTheMarkWhenItIsTheLast) {
    std::thread leaving = wait();
    ASSERT_TRUE(eventually([&] {
        return std::atomic_ref(semaphore->word[3]).load() == 1 && threadsSleep("leaving");
    }));
    EXPECT_EQ(cabinaudio::sem_post(semaphore), 0);
    leaving.join();
    EXPECT_EQ(word(0), 0U) << "a post would make a useless call of the kernel";
    EXPECT_EQ(word(3), 0U);
}

}  // namespace
}  // namespace cabinaudio::test

#endif
