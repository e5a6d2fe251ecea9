// SPDX-License-Identifier: Apache-2.0
#include "link/AudioSocket.h"

#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioSemaphore.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "link/ReplyDeadline.h"
#include "link/SktWorker.h"

#include <sys/socket.h>

#include <cstdlib>
#include <new>

namespace {

constexpr std::uint64_t EARLY_WAKE_UP_PAUSE_US = 1000;

}  // namespace

bool AudioSocket::create(AudioConnection::Callback callback, void* opaque) {
    mReplySem = new (std::nothrow) AudioSemaphore(false);
    mReplyLock = new (std::nothrow) AudioMutex(false);
    mReplyCond = new (std::nothrow) AudioCondition(false);
    mWorker = new (std::nothrow) SktWorker(this, callback, opaque);
    return mReplySem != nullptr && mReplyLock != nullptr && mReplyCond != nullptr &&
           mWorker != nullptr;
}

void AudioSocket::destroy(AudioSocket* record) {
    delete record->mReplySem;
    delete record->mReplyCond;
    delete record->mReplyLock;
    delete record->mWorker;
    record->~AudioSocket();
    std::free(record);
}

bool AudioSocket::mayStillBeAnswered() const {
    // Only a thread that never ran can never answer.
    if (mIsStall != 0 || !mState.hasWorkerStarted()) return false;
    if (!mState.isWorkerGone()) return true;
    // A server that dies leaves the requester waiting (deliberate: the owner decides, by
    // disconnecting, by its own destruction, or once for all by the policy).
    return !mState.isAbandoned() && !cabinaudio::linkPolicy().wakesOnServerLoss;
}

bool AudioSocket::waitForReply(const cabinaudio::ReplyDeadline& deadline) {
    while (mReplyReady == 0 && mayStillBeAnswered()) {
        if (!deadline.isSet())
            mReplyCond->wait(*mReplyLock);
        else if (const std::uint64_t ms = deadline.remainingMs(); ms != 0)
            (void)mReplyCond->waitRelative(*mReplyLock, ms);
        else
            break;
    }
    return mReplyReady != 0;
}

void AudioSocket::waitForReader() const {
    for (;;) {
        mReplySem->wait();
        if (mState.isBodyTaken() || mIsStall != 0 || mState.isBroken()) return;
        // A wait that ended early is no post: what is read next would be the body, taken for a
        // frame. One that fails for good must not keep the processor.
        AudioTime::sleep(EARLY_WAKE_UP_PAUSE_US);
    }
}

void AudioSocket::breakOff() {
    mState.breakOff(*mReplyLock);
    ::shutdown(mSocket, SHUT_RDWR);
    // The receive thread may be waiting until a body is read.
    mReplySem->signal();
}

void AudioSocket::wakeRequester() const {
    const AudioMutex::AutoLock lock(*mReplyLock);
    mReplyCond->broadcast();
}
