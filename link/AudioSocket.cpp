// SPDX-License-Identifier: Apache-2.0
#include "link/AudioSocket.h"

#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioSemaphore.h>

#include "link/SktWorker.h"

#include <cstdlib>
#include <new>

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

bool AudioSocket::waitForReply() {
    // A server that dies leaves the requester waiting (deliberate: the owner decides, by
    // disconnecting or by its own destruction); only a thread that never ran can never answer.
    while (mReplyReady == 0 && mIsStall == 0 && mWorkerStarted && !(mWorkerGone && mAbandoned))
        mReplyCond->wait(*mReplyLock);
    return mReplyReady != 0;
}

void AudioSocket::wakeRequester() const {
    const AudioMutex::AutoLock lock(*mReplyLock);
    mReplyCond->broadcast();
}
