// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioSemaphore.h>
#include <cabinaudio/foundation/AudioThread.h>
#include <cabinaudio/link/RemoteCall.h>

#include "foundation/UseGate.h"

#include <cstdint>
#include <list>

/// The thread that delivers notifications to the owner, AS-RCNotifier: in order of arrival, one at
/// a time, without a lock held. The queue has no limit.
class CABINAUDIO_LOCAL RemoteCall::RemoteCallNotifierWorker : public AudioThread {
public:
    RemoteCallNotifierWorker(Notify notify, void* opaque);
    /// Stops the thread, which ends once its queue is empty; notifications queued after that are
    /// dropped, with one log line each.
    ~RemoteCallNotifierWorker() override;

    /// Queues one notification. Any thread; never blocks for long.
    void post(std::uint32_t event, std::uint32_t param) noexcept CABINAUDIO_EXCLUDES(mLock);

    void run() override CABINAUDIO_EXCLUDES(mLock);

    /// The threads that are in a request of the RemoteCall. Kept here because the layout of
    /// RemoteCall is fixed.
    cabinaudio::UseGate requests;

private:
    struct Message {
        std::uint32_t event;
        std::uint32_t param;
    };

    Message* _takeFirst() CABINAUDIO_EXCLUDES(mLock);

    // Has its own synchronization.
    AudioMutex mLock;
    AudioSemaphore mWakeUps;  // counts wake-ups, not messages
    // Guarded by mLock.
    std::list<Message*> mMessages CABINAUDIO_GUARDED_BY(mLock);
    // Set at construction.
    const Notify mNotify;
    void* const mOpaque;
};
