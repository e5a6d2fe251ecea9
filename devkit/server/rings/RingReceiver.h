// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "shm/SharedSemaphore.h"
#include "wire/Ring.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace cabinaudio::server {

/// A thread that calls a callback for each post of a client, as a ring's own receiver does. It ends
/// in bounded time whatever the client does to the ring: when the client cuts off the ring's
/// memory, a sleeping thread stays with the old page, which no post reaches any more. A signal ends
/// that sleep.
class RingReceiver {
public:
    /// @param header    of a ring, in a mapping that outlives this object
    /// @param side      SHM_MODE_READER or SHM_MODE_WRITER: what the server does with the ring
    /// @param callback  outlives this object
    /// @throws std::system_error when there is no thread
    RingReceiver(wire::RingHeader& header, unsigned side,
                 ShareMemoryUpdateNotificationCallback& callback);
    ~RingReceiver();
    RingReceiver(const RingReceiver&) = delete;
    RingReceiver& operator=(const RingReceiver&) = delete;

private:
    void run();
    void receive();
    [[nodiscard]] bool hasEndedSoon();

    sem_t* mSemaphore;
    ShareMemoryUpdateNotificationCallback& mCallback;
    std::atomic<bool> mEnds{false};
    std::mutex mLock;
    std::condition_variable mChanged;
    bool mHasEnded = false;  // guarded by mLock
    std::thread mThread;
};

}  // namespace cabinaudio::server
