// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/WorkerThread.h"

#include <atomic>
#include <cstdint>
#include <ctime>
#include <optional>

namespace cabinaudio::bench {

/// Two wake-ups in a row and nothing else: the limit of everything that hands a post of another
/// process to a waiting caller by a thread of its own.
///
///     poster               thread like the library's       caller
///     word += 1, wake  ->  futex wait returns; wake    ->  futex wait returns
class FutexChain {
public:
    /// @param word  what the poster counts up and wakes, in memory shared with it
    explicit FutexChain(std::uint32_t* word);
    ~FutexChain();
    FutexChain(const FutexChain&) = delete;
    FutexChain& operator=(const FutexChain&) = delete;

    /// Sleeps until the poster's next wake-up has come through.
    /// @param limit  for a sleep, as the library's have one: the kernel sets a timer for it and
    ///               takes it back. Null for none
    /// @return false when it is over
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
