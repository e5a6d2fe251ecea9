// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioThread.h>

#include "foundation/FaultSignals.h"
#include "foundation/LibraryThread.h"
#include "foundation/Log.h"
#include "foundation/OrdinaryThreads.h"

#include <sched.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace {

using cabinaudio::FAULT_SIGNALS;

sigset_t faultSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : FAULT_SIGNALS)
        sigaddset(&signals, signal);
    return signals;
}

sigset_t otherSignals() {
    sigset_t signals;
    sigfillset(&signals);
    for (const int signal : FAULT_SIGNALS)
        sigdelset(&signals, signal);
    return signals;
}

/// pthread_create() with all signals except the fault signals blocked from the new thread's first
/// instruction on. The caller's mask of the fault signals stays as it is: a pending one must not be
/// delivered here.
int createDeafToSignals(pthread_t& thread, const pthread_attr_t& attr, void* (*entry)(void*),
                        void* argument) {
    const sigset_t others = otherSignals();
    sigset_t before;
    AUDIO_IGNORE(pthread_sigmask(SIG_BLOCK, &others, &before) == 0);
    const int ret = pthread_create(&thread, &attr, entry, argument);
    AUDIO_IGNORE(pthread_sigmask(SIG_SETMASK, &before, nullptr) == 0);
    return ret;
}

void setStack(pthread_attr_t& attr, std::size_t bytes) {
    if (bytes != 0) AUDIO_IGNORE(pthread_attr_setstacksize(&attr, bytes) == 0);
}

/// The same with ordinary scheduling, which needs no permission.
int createOrdinary(pthread_t& thread, std::size_t stackBytes, void* (*entry)(void*),
                   void* argument) {
    pthread_attr_t attr;
    AUDIO_IGNORE(pthread_attr_init(&attr) == 0);
    AUDIO_IGNORE(pthread_attr_setinheritsched(&attr, PTHREAD_EXPLICIT_SCHED) == 0);
    AUDIO_IGNORE(pthread_attr_setschedpolicy(&attr, SCHED_OTHER) == 0);
    setStack(attr, stackBytes);
    const int ret = createDeafToSignals(thread, attr, entry, argument);
    AUDIO_IGNORE(pthread_attr_destroy(&attr) == 0);
    return ret;
}

}  // namespace

AudioThread::AudioThread(const char* name, std::int32_t priority, Policy policy)
    : mRunning(false),
      mName{},
      mPolicy(policy),
      mPriority(priority),
      mThread(),
      mLock(false),
      mJoined(true) {
    // The precision is the room left behind "AS-".
    std::snprintf(mName, sizeof(mName), "AS-%.12s", name != nullptr ? name : "Default");
}

AudioThread::~AudioThread() {
    stop();
}

void AudioThread::start() {
    cabinaudio::LibraryThread::start(*this, 0);
}

void cabinaudio::LibraryThread::start(AudioThread& thread, std::size_t stackBytes) {
    // AUDIO_IGNORE logs the text of its condition, so the names in it must stay.
    pthread_t& mThread = thread.mThread;
    const char* const mName = thread.mName;
    const AudioMutex::AutoLock lock(thread.mLock);
    if (thread.mRunning) {
        AUDIO_LOGE("Thread(%s) has been run already.\n", mName);
        return;
    }
    // A body that stopped its own thread cannot have joined it: join or detach that thread now.
    if (!thread.mJoined && pthread_tryjoin_np(mThread, nullptr) != 0)
        AUDIO_IGNORE(pthread_detach(mThread) == 0);
    thread.mJoined = true;
    thread.mRunning = true;

    const int policy = AudioThread::_getPolicyId(thread.mPolicy);
    struct sched_param param = {};
    param.sched_priority =
        thread.mPriority == -1 ? sched_get_priority_max(policy) : thread.mPriority;
    pthread_attr_t attr;
    AUDIO_IGNORE(pthread_attr_init(&attr) == 0);
    AUDIO_IGNORE(pthread_attr_setinheritsched(&attr, PTHREAD_EXPLICIT_SCHED) == 0);
    AUDIO_IGNORE(pthread_attr_setschedpolicy(&attr, policy) == 0);
    AUDIO_IGNORE(pthread_attr_setschedparam(&attr, &param) == 0);
    setStack(attr, stackBytes);
    int ret = createDeafToSignals(mThread, attr, AudioThread::_run, &thread);
    if (ret == EPERM && cabinaudio::gAllowsOrdinaryThreads.load(std::memory_order_relaxed)) {
        AUDIO_LOGW("Thread(%s) may not be a real-time one.\n", mName);
        ret = createOrdinary(mThread, stackBytes, AudioThread::_run, &thread);
    }
    const int error = errno;  // pthread_create() does not set it; `ret` has the reason
    AUDIO_IGNORE(pthread_attr_destroy(&attr) == 0);

    if (ret == 0) {
        AUDIO_IGNORE(pthread_setname_np(mThread, mName) == 0);
        thread.mJoined = false;
    } else {
        AUDIO_LOGE("Fail to start thread(%s) because %s(%d), ret=%d.\n", mName,
                   std::strerror(error), error, ret);
        thread.mRunning = false;
    }
}

void AudioThread::prepareStop() {
    const AudioMutex::AutoLock lock(mLock);
    mRunning = false;
}

void AudioThread::join() {
    pthread_t thread;
    {
        const AudioMutex::AutoLock lock(mLock);
        if (mJoined) return;
        if (pthread_equal(mThread, pthread_self()) != 0) {
            AUDIO_LOGE("Thread(%s) DEAD LOCK.\n", mName);
            return;
        }
        mJoined = true;
        thread = mThread;  // a concurrent start() may replace mThread
    }
    AUDIO_IGNORE(pthread_join(thread, nullptr) == 0);
}

void AudioThread::stop() {
    prepareStop();
    join();
}

/// Not noexcept: pthread_exit unwinds through here.
void* AudioThread::_run(void* self) {
    const sigset_t faults = faultSignals();
    AUDIO_IGNORE(pthread_sigmask(SIG_UNBLOCK, &faults, nullptr) == 0);
    static_cast<AudioThread*>(self)->run();
    pthread_exit(nullptr);
}

int AudioThread::_getPolicyId(Policy policy) {
    switch (policy) {
        case POLICY_FIFO:
            return SCHED_FIFO;
        case POLICY_OTHER:
            return SCHED_OTHER;
        case POLICY_RR:
            break;
    }
    return SCHED_RR;
}
