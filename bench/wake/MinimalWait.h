// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/WorkerThread.h"

#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <optional>

namespace cabinaudio::bench {

/// Minimal wait of a stream client: a semaphore shared with the poster, a thread that waits for it
/// and signals a condition, and a caller that waits for the condition with a timeout.
class MinimalWait {
public:
    /// @param semaphore  in memory shared with the poster
    explicit MinimalWait(sem_t* semaphore);
    ~MinimalWait();
    MinimalWait(const MinimalWait&) = delete;
    MinimalWait& operator=(const MinimalWait&) = delete;

    /// Waits for the poster's next post. @return false after 2 s without one
    bool wait();

private:
    static void* pass(void* self);
    void passOn();

    sem_t* mSemaphore;
    pthread_mutex_t mLock = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t mChanged;
    bool mIsBlocked = false;  // guarded by mLock, like the next member
    bool mIsPosted = false;
    std::atomic<bool> mRunning{true};
    std::optional<WorkerThread> mThread;
};

}  // namespace cabinaudio::bench
