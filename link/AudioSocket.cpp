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
    // A receive thread that never ran delivers no reply.
    if (mIsStall != 0 || !mState.hasWorkerStarted()) return false;
    if (!mState.isWorkerGone()) return true;
    // Deliberate: a dead server leaves the requester waiting. The owner ends the wait by
    // disconnecting or by its own destruction, or sets the policy to end all such waits.
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
        // A wait that ended early took no post: the next read would take the body for a frame. The
        // pause keeps a permanently failing wait from using all processor time.
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
