// SPDX-License-Identifier: Apache-2.0
#include "shm/SharedSemaphore.h"

#include "shm/Futex.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>

namespace cabinaudio {

namespace {

constexpr std::uint32_t PROCESS_SHARED = 128;

std::uint32_t* wordsOf(sem_t* semaphore) {
    return reinterpret_cast<std::uint32_t*>(semaphore);
}

}  // namespace

void semaphoreShare(sem_t* semaphore) {
    std::uint32_t unset = 0;
    std::atomic_ref<std::uint32_t>(wordsOf(semaphore)[1])
        .compare_exchange_strong(unset, PROCESS_SHARED);
}

void semaphoreWakeSleepers(sem_t* semaphore) {
    std::uint32_t* const word = wordsOf(semaphore);
    // A waiter of the C library uses one of the two kinds, depending on a word of the slot.
    futexWake(word, FUTEX_WAKE, INT_MAX);
    futexWake(word, FUTEX_WAKE_PRIVATE, INT_MAX);
}

#if __WORDSIZE == 32

bool semaphoreHasPost(sem_t* semaphore) {
    int count = 0;
    return sem_getvalue(semaphore, &count) == 0 && count > 0;
}

#else

namespace {

constexpr std::uint32_t WAITERS_BIT = 1;
constexpr std::uint32_t ONE_POST = 2;
constexpr std::uint32_t COUNT_MAX = 0x7fffffff;

using Word = std::atomic_ref<std::uint32_t>;

Word valueOf(sem_t* semaphore) {
    return Word(semaphore->word[0]);
}
Word waitersOf(sem_t* semaphore) {
    return Word(semaphore->word[3]);
}

constexpr std::uint32_t countIn(std::uint32_t value) {
    return value / ONE_POST;
}

bool tryTake(Word value) {
    std::uint32_t seen = value.load(std::memory_order_relaxed);
    while (countIn(seen) != 0)
        if (value.compare_exchange_weak(seen, seen - ONE_POST, std::memory_order_acquire,
                                        std::memory_order_relaxed))
            return true;
    return false;
}

int sleepForPost(sem_t* semaphore) {
    const Word value = valueOf(semaphore);
    while (!tryTake(value)) {
        // Set in every round: a leaving waiter, or an initialisation, may have cleared it.
        const std::uint32_t seen = value.fetch_or(WAITERS_BIT, std::memory_order_relaxed);
        if (countIn(seen) != 0) continue;
        if (futexWait(semaphore->word, FUTEX_WAIT, WAITERS_BIT, nullptr) != 0 && errno != EAGAIN)
            return -1;
    }
    return 0;
}

void leaveWaiters(sem_t* semaphore) {
    const Word value = valueOf(semaphore);
    const Word waiters = waitersOf(semaphore);
    const std::uint32_t guess = waiters.load(std::memory_order_relaxed);
    if (guess == 0) return;  // initialised during the wait: this waiter is not counted
    if (guess == 1) value.fetch_and(~WAITERS_BIT, std::memory_order_acquire);
    const std::uint32_t before = waiters.fetch_sub(1, std::memory_order_release);
    if (guess != 1 || before == 1) return;
    // Another waiter arrived in between and may wait without the bit; a post may have been missed.
    const std::uint32_t seen = value.fetch_or(WAITERS_BIT, std::memory_order_relaxed);
    if (countIn(seen) != 0) futexWake(semaphore->word, FUTEX_WAKE, 1);
}

}  // namespace

int sem_init(sem_t* semaphore, int shared, unsigned count) {
    if (count > COUNT_MAX) {
        errno = EINVAL;
        return -1;
    }
    const std::uint32_t words[4] = {count * ONE_POST, shared != 0 ? PROCESS_SHARED : 0, 0, 0};
    for (int i = 0; i < 4; ++i)
        Word(semaphore->word[i]).store(words[i], std::memory_order_relaxed);
    return 0;
}

int sem_destroy(sem_t* /*semaphore*/) {
    return 0;
}

int sem_post(sem_t* semaphore) {
    const Word value = valueOf(semaphore);
    std::uint32_t seen = value.load(std::memory_order_relaxed);
    do {
        if (countIn(seen) == COUNT_MAX) {
            errno = EOVERFLOW;
            return -1;
        }
    } while (!value.compare_exchange_weak(seen, seen + ONE_POST, std::memory_order_release,
                                          std::memory_order_relaxed));
    if ((seen & WAITERS_BIT) != 0) futexWake(semaphore->word, FUTEX_WAKE, 1);
    return 0;
}

int sem_wait(sem_t* semaphore) {
    if (tryTake(valueOf(semaphore))) return 0;
    waitersOf(semaphore).fetch_add(1, std::memory_order_acquire);
    const int result = sleepForPost(semaphore);
    const int error = errno;
    leaveWaiters(semaphore);
    errno = error;
    return result;
}

bool semaphoreHasPost(sem_t* semaphore) {
    return countIn(valueOf(semaphore).load(std::memory_order_relaxed)) != 0;
}

#endif

}  // namespace cabinaudio
