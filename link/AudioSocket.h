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

/// State of a connection while it is connected. The receive thread hands replies over to the
/// requester through it: the receive thread reads the frame header, raises mReplyReady, and does
/// not touch the socket again until the requester has read the body and posted mReplySem.
struct AudioSocket {
    // Set before other threads can reach the record.
    std::int32_t mSocket = 0;              // -1 when closed
    AudioSemaphore* mReplySem = nullptr;   // posted when a reply's body has been read
    AudioMutex* mReplyLock = nullptr;      // held by the requester for its whole recv()
    AudioCondition* mReplyCond = nullptr;  // wakes waitForReply() to test again
    SktWorker* mWorker = nullptr;
    // Guarded by mReplyLock.
    std::uint8_t mReplyReady CABINAUDIO_GUARDED_BY(*mReplyLock) = 0;
    // Has its own synchronization.
    std::atomic<std::uint8_t> mIsStall = 0;  // 1: a failing recv is expected
    cabinaudio::ConnectionState mState;
    cabinaudio::ReturnedLoans mReturnedLoans;
    // Used only by the requester.
    std::uint64_t mSendLimitMs = 0;  // SO_SNDTIMEO as set last

    /// Creates the lock objects and the worker, which is not started yet.
    /// @return false when memory is exhausted; destroy() then releases the parts that exist
    [[nodiscard]] bool create(AudioConnection::Callback callback, void* opaque);

    /// Releases the lock objects, the worker and the record itself. No thread may still use them.
    static void destroy(AudioSocket* record);

    /// Waits on mReplyCond until a reply's body can be read, no reply can come any more, or the
    /// deadline has passed. @return whether a body can be read
    [[nodiscard]] bool waitForReply(const cabinaudio::ReplyDeadline& deadline)
        CABINAUDIO_REQUIRES(*mReplyLock);

    /// Blocks the receive thread, after it has set mReplyReady, until it may read the socket again.
    void waitForReader() const CABINAUDIO_EXCLUDES(*mReplyLock);

    /// Gives the connection up: later data from the server is not taken for a reply.
    void breakOff() CABINAUDIO_REQUIRES(*mReplyLock);

    /// Makes a requester test its condition again. Takes mReplyLock, so that the wake-up cannot be
    /// lost between the test and the wait.
    void wakeRequester() const CABINAUDIO_EXCLUDES(*mReplyLock);

private:
    [[nodiscard]] bool mayStillBeAnswered() const CABINAUDIO_REQUIRES(*mReplyLock);
};
