// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/WorkerThread.h"

#include <atomic>
#include <cstdint>
#include <ctime>
#include <optional>

namespace cabinaudio::bench {

/// Two wake-ups in a row and nothing else: the lower bound for any design whose own thread passes
/// another process's post on to a waiting caller.
///
///     poster               thread like the library's       caller
///     word += 1, wake  ->  futex wait returns; wake    ->  futex wait returns
class FutexChain {
public:
    /// @param word  incremented and woken by the poster, in memory shared with it
    explicit FutexChain(std::uint32_t* word);
    ~FutexChain();
    FutexChain(const FutexChain&) = delete;
    FutexChain& operator=(const FutexChain&) = delete;

    /// Waits for the poster's next wake-up, passed on by the thread.
    /// @param limit  timeout of each sleep, as the library has one: the kernel sets and cancels a
    /// timer
    ///               for it. Null for none
    /// @return false on timeout
    bool wait(const timespec* limit);

private:
    static void* pass(void* self);

    std::uint32_t* mWord;
    std::uint32_t mPassed = 0;
    std::uint32_t mSeen = 0;
    std::atomic<bool> mRunning{true};
    std::optional<WorkerThread> mThread;
};

}  // namespace cabinaudio::bench
