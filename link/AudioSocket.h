// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/link/AudioConnection.h>

#include "link/ConnectionState.h"
#include "link/RecordLoan.h"

#include <atomic>
#include <cstdint>

namespace cabinaudio {
class ReplyDeadline;
}
class AudioCondition;
class AudioSemaphore;
class SktWorker;

/// What a connection has while it is connected. The receive thread and the requesting thread hand
/// a reply over through it: the receive thread reads the frame header, raises mReplyReady, and does
/// not touch the socket again until the requester has read the body and posted mReplySem.
struct AudioSocket {
    // Set before other threads know the record.
    std::int32_t mSocket = 0;              // -1 when closed
    AudioSemaphore* mReplySem = nullptr;   // posted when a reply's body has been read
    AudioMutex* mReplyLock = nullptr;      // held by the requester for its whole recv()
    AudioCondition* mReplyCond = nullptr;  // something that waitForReply() tests has changed
    SktWorker* mWorker = nullptr;
    // Guarded by mReplyLock.
    std::uint8_t mReplyReady CABINAUDIO_GUARDED_BY(*mReplyLock) = 0;
    // Has its own synchronization.
    std::atomic<std::uint8_t> mIsStall = 0;  // a failing recv is the expected end
    cabinaudio::ConnectionState mState;
    cabinaudio::ReturnedLoans mReturnedLoans;
    // Of the requester.
    std::uint64_t mSendLimitMs = 0;  // SO_SNDTIMEO as set last

    /// Makes the lock objects and the worker, which is not started yet.
    /// @return false when memory is short; destroy() then releases what was made
    [[nodiscard]] bool create(AudioConnection::Callback callback, void* opaque);

    /// Releases the lock objects, the worker and the record itself. Nobody may use them any more.
    static void destroy(AudioSocket* record);

    /// Waits on mReplyCond until a reply's body can be read or no reply can be expected any more,
    /// or the time is over. @return whether there is one
    [[nodiscard]] bool waitForReply(const cabinaudio::ReplyDeadline& deadline)
        CABINAUDIO_REQUIRES(*mReplyLock);

    /// The receive thread's wait, once mReplyReady is raised, until it may read the socket again.
    void waitForReader() const CABINAUDIO_EXCLUDES(*mReplyLock);

    /// Gives the connection up: what the server still sends answers nothing.
    void breakOff() CABINAUDIO_REQUIRES(*mReplyLock);

    /// Lets a requester look again. Takes mReplyLock, so that it cannot miss the wake-up between
    /// its test and its wait.
    void wakeRequester() const CABINAUDIO_EXCLUDES(*mReplyLock);

private:
    [[nodiscard]] bool mayStillBeAnswered() const CABINAUDIO_REQUIRES(*mReplyLock);
};
