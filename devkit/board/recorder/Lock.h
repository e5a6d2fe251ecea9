// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/recorder/LibraryCalls.h"

#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>

#include <atomic>
#include <cstdint>

namespace cabinaudio::recorder {

/// A lock that knows its owner. A signal handler may send on a connection whose lock the
/// interrupted thread holds: it does not get the lock, and does not wait for it either. Waiters
/// sleep, because a spinning real-time thread would keep the owner from running.
class Lock {
public:
    /// @return false when the calling thread holds the lock
    [[nodiscard]] bool lock() noexcept {
        const auto self = static_cast<unsigned long>(pthread_self());
        if (mOwner.load(std::memory_order_relaxed) == self) return false;
        std::uint32_t seen = FREE;
        if (!mState.compare_exchange_strong(seen, HELD, std::memory_order_acquire)) waitForIt();
        mOwner.store(self, std::memory_order_relaxed);
        return true;
    }

    /// @return false when a thread holds the lock
    [[nodiscard]] bool tryLock() noexcept {
        std::uint32_t seen = FREE;
        if (!mState.compare_exchange_strong(seen, HELD, std::memory_order_acquire)) return false;
        mOwner.store(static_cast<unsigned long>(pthread_self()), std::memory_order_relaxed);
        return true;
    }

    void unlock() noexcept {
        mOwner.store(0, std::memory_order_relaxed);
        if (mState.exchange(FREE, std::memory_order_release) == AWAITED)
            libc::systemCall.find()(SYS_futex, &mState, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
    }

    /// Only in the child of a fork, where the owner does not exist.
    void reset() noexcept {
        mOwner.store(0, std::memory_order_relaxed);
        mState.store(FREE, std::memory_order_relaxed);
    }

private:
    static constexpr std::uint32_t FREE = 0;
    static constexpr std::uint32_t HELD = 1;
    static constexpr std::uint32_t AWAITED = 2;  // held, and a thread may wait

    void waitForIt() noexcept {
        while (mState.exchange(AWAITED, std::memory_order_acquire) != FREE)
            libc::systemCall.find()(SYS_futex, &mState, FUTEX_WAIT_PRIVATE, AWAITED, nullptr,
                                    nullptr, 0);
    }

    std::atomic<std::uint32_t> mState{FREE};
    std::atomic<unsigned long> mOwner{0};
};

/// Holds a lock for its own life, if it could be taken.
class Hold {
public:
    explicit Hold(Lock& lock) noexcept : mLock(lock), mIsHeld(lock.lock()) {}
    ~Hold() {
        if (mIsHeld) mLock.unlock();
    }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    explicit operator bool() const noexcept { return mIsHeld; }

private:
    Lock& mLock;
    bool mIsHeld;
};

}  // namespace cabinaudio::recorder
