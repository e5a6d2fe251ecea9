// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "devkit/server/base/Mutex.h"
#include "shm/SharedSemaphore.h"
#include "wire/Ring.h"

#include <atomic>
#include <thread>

namespace cabinaudio::server {

/// A thread that calls a callback for each post of a client, like a ring's own receiver, but ends
/// in bounded time whatever the client does to the ring. When the client truncates the ring's
/// memory, a waiting thread stays on the old page, which no post reaches; a signal ends that wait.
class RingReceiver {
public:
    /// @param header    in a mapping that outlives this object
    /// @param side      SHM_MODE_READER or SHM_MODE_WRITER: the server's side of the ring
    /// @param callback  outlives this object
    /// @throws std::system_error when the thread cannot be created
    RingReceiver(wire::RingHeader& header, unsigned side,
                 ShareMemoryUpdateNotificationCallback& callback);
    ~RingReceiver();
    RingReceiver(const RingReceiver&) = delete;
    RingReceiver& operator=(const RingReceiver&) = delete;

private:
    void run() CABINAUDIO_EXCLUDES(mLock);
    void receive();
    [[nodiscard]] bool waitForEnd() CABINAUDIO_EXCLUDES(mLock);

    // Set at construction.
    sem_t* mSemaphore;
    ShareMemoryUpdateNotificationCallback& mCallback;

    // Has its own synchronization.
    std::atomic<bool> mEnds{false};
    Mutex mLock;
    Condition mChanged;

    // Guarded by mLock.
    bool mHasEnded CABINAUDIO_GUARDED_BY(mLock) = false;

    std::thread mThread;
};

}  // namespace cabinaudio::server
