// SPDX-License-Identifier: Apache-2.0
#include "link/RemoteCallNotifierWorker.h"

#include <cabinaudio/foundation/AudioMemory.h>

#include "foundation/Log.h"

using cabinaudio::LogSite;
using cabinaudio::SourceStem;
using cabinaudio::STEM;

RemoteCall::RemoteCallNotifierWorker::RemoteCallNotifierWorker(Notify notify, void* opaque)
    : AudioThread("RCNotifier", -1, POLICY_RR),
      mLock(false),
      mWakeUps(false),
      mNotify(notify),
      mOpaque(opaque) {}

RemoteCall::RemoteCallNotifierWorker::~RemoteCallNotifierWorker() {
    prepareStop();
    mWakeUps.signal();
    join();
    // Kept as is: in the log, this line names the source file of the remote call.
    const LogSite site{STEM<SourceStem("RemoteCall.cpp")>.text, __func__};
    while (Message* const message = _takeFirst()) {
        AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "[%p]drop msg:%p\n", mOpaque,
                     static_cast<void*>(message));
        AudioNormalFree(message);
    }
}

void RemoteCall::RemoteCallNotifierWorker::post(std::uint32_t event, std::uint32_t param) noexcept {
    auto* const message = static_cast<Message*>(AudioNormalMalloc(sizeof(Message)));
    *message = {event, param};
    {
        const AudioMutex::AutoLock lock(mLock);
        mMessages.push_back(message);
    }
    mWakeUps.signal();
}

void RemoteCall::RemoteCallNotifierWorker::run() {
    if (!running()) return;
    for (;;) {
        // A stop is noticed only when the queue is empty, so queued notifications are delivered
        // first.
        while (Message* const message = _takeFirst()) {
            if (mNotify != nullptr) mNotify(mOpaque, message->event, message->param);
            AudioNormalFree(message);
        }
        mWakeUps.wait();
        if (!running()) return;
    }
}

RemoteCall::RemoteCallNotifierWorker::Message* RemoteCall::RemoteCallNotifierWorker::_takeFirst() {
    const AudioMutex::AutoLock lock(mLock);
    if (mMessages.empty()) return nullptr;
    Message* const first = mMessages.front();
    mMessages.pop_front();
    return first;
}
