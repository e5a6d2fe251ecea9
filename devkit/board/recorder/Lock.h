// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/recorder/LibraryCalls.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <sys/types.h>

#include <atomic>
#include <cstdint>

namespace cabinaudio::recorder {

/// 0 until it is known. In the child of a fork, the thread has another number.
extern constinit thread_local pid_t gThread;

/// Number of the calling thread, asked from the kernel once.
[[nodiscard]] inline std::uint32_t threadNumber() noexcept {
    if (gThread == 0) gThread = static_cast<pid_t>(libc::systemCall.find()(SYS_gettid));
    return static_cast<std::uint32_t>(gThread);
}

/// A lock that knows its owner. A signal handler may send on a connection whose lock the
/// interrupted thread holds: it does not get the lock, and does not wait for it either. Waiters
/// sleep, because a spinning real-time thread would keep the owner from running.
class Lock {
public:
    /// @return false when the calling thread holds the lock
    [[nodiscard]] bool lock() noexcept {
        const std::uint32_t self = threadNumber();
        std::uint32_t seen = FREE;
        if (mOwner.compare_exchange_strong(seen, self, std::memory_order_acquire)) return true;
        if ((seen & ~AWAITED) == self) return false;
        waitForIt(self);
        return true;
    }

    void unlock() noexcept {
        if ((mOwner.exchange(FREE, std::memory_order_release) & AWAITED) != 0)
            libc::systemCall.find()(SYS_futex, &mOwner, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
    }

    /// Only in the child of a fork, where the owner does not exist.
    void reset() noexcept { mOwner.store(FREE, std::memory_order_relaxed); }

private:
    static constexpr std::uint32_t FREE = 0;
    static constexpr std::uint32_t AWAITED = 0x80000000;  // beside the owner: a thread may wait

    /// The lock is marked as awaited, because other threads may wait too.
    void waitForIt(std::uint32_t self) noexcept {
        for (;;) {
            std::uint32_t seen = mOwner.load(std::memory_order_relaxed);
            if (seen == FREE) {
                if (mOwner.compare_exchange_weak(seen, self | AWAITED, std::memory_order_acquire))
                    return;
                continue;
            }
            if ((seen & AWAITED) == 0 && !mOwner.compare_exchange_weak(seen, seen | AWAITED))
                continue;
            libc::systemCall.find()(SYS_futex, &mOwner, FUTEX_WAIT_PRIVATE, seen | AWAITED, nullptr,
                                    nullptr, 0);
        }
    }

    std::atomic<std::uint32_t> mOwner{FREE};
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
