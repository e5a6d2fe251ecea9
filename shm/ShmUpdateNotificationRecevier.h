// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioThread.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "shm/SharedSemaphore.h"

#include <pthread.h>

#include <atomic>
#include <cstdint>

/// Waits on a ring's semaphore and calls the callback once per post. The ring creates, starts,
/// stops and deletes it.
class ShmUpdateNotificationRecevier : public AudioThread {
public:
    /// @param name      of the thread
    /// @param sem       not owned; in shared memory, posted by the other process
    /// @param callback  not owned; may be null
    ShmUpdateNotificationRecevier(const char* name, cabinaudio::sem_t* sem,
                                  ShareMemoryUpdateNotificationCallback* callback);

    void run() override;

    /// Calls start() and records whether there is a body to wait for.
    void launch();

    /// Waits, for at most `ms` milliseconds, until the body no longer waits on the semaphore or
    /// calls the callback. @return whether the body has ended
    [[nodiscard]] bool waitForBodyEnd(long ms);

    /// Whether the caller is the body, that is, inside notify().
    [[nodiscard]] bool isCaller() const;

    /// Called by the body: it deletes this object when it ends.
    void leaveToBody();

private:
    /// @return true when it was asked to end; false with errno set when a wait failed
    bool receive();

    // Set at construction.
    cabinaudio::sem_t* mSem;
    ShareMemoryUpdateNotificationCallback* mCallback;

    // Has its own synchronization.
    std::atomic<std::uint32_t> mBodyRuns{0};  // 1 until the body ends; futex word
    std::atomic<pthread_t> mBody{};

    // Used only by the body: leaveToBody() is called on its thread.
    bool mLeftToBody = false;
};
