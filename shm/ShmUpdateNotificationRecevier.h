// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioThread.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "shm/SharedSemaphore.h"

#include <pthread.h>

#include <atomic>
#include <cstdint>

/// Sleeps on a ring's semaphore and calls the callback once per post. The ring makes, starts, stops
/// and deletes it.
class ShmUpdateNotificationRecevier : public AudioThread {
public:
    /// @param name      of the thread
    /// @param sem       not owned; in shared memory, posted by the other process
    /// @param callback  not owned; null calls nobody
    ShmUpdateNotificationRecevier(const char* name, cabinaudio::sem_t* sem,
                                  ShareMemoryUpdateNotificationCallback* callback);

    void run() override;

    /// start(), and remembers whether there is a body to wait for.
    void launch();

    /// Waits, for at most `ms` milliseconds, until the body neither sleeps on the semaphore nor
    /// calls the callback any more. @return whether it is so
    [[nodiscard]] bool waitForBodysEnd(long ms);

    /// Whether the caller is the body, that is, inside notify().
    [[nodiscard]] bool isCaller() const;

    /// Called by the body: it deletes this object when it ends.
    void leaveToBody();

private:
    /// @return whether it was asked to end; false with errno set when a wait failed
    bool receive();

    // Set at construction.
    cabinaudio::sem_t* mSem;
    ShareMemoryUpdateNotificationCallback* mCallback;

    // Has its own synchronization.
    std::atomic<std::uint32_t> mBodyRuns{0};  // 1 until the body ends; sleepers wait on it
    std::atomic<pthread_t> mBody{};

    // The body's alone: leaveToBody() is called on the body's thread.
    bool mLeftToBody = false;
};
