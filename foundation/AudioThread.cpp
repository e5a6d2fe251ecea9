// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioThread.h>

#include "foundation/Log.h"
#include "foundation/OrdinaryThreads.h"

#include <sched.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace {

/// Each stream has three threads, and the target 3 GiB of addresses: with the system's 8 MiB for
/// each stack not even 128 streams would fit.
constexpr std::size_t STACK_BYTES = std::size_t{1024} * 1024;

/// pthread_create, such that the new thread has all signals blocked from its first instruction on.
int createDeafToSignals(pthread_t& thread, const pthread_attr_t& attr, void* (*entry)(void*),
                        void* argument) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    AUDIO_IGNORE(pthread_sigmask(SIG_SETMASK, &all, &before) == 0);
    const int ret = pthread_create(&thread, &attr, entry, argument);
    AUDIO_IGNORE(pthread_sigmask(SIG_SETMASK, &before, nullptr) == 0);
    return ret;
}

/// The same as an ordinary thread, which any process may have.
int createOrdinary(pthread_t& thread, void* (*entry)(void*), void* argument) {
    pthread_attr_t attr;
    AUDIO_IGNORE(pthread_attr_init(&attr) == 0);
    AUDIO_IGNORE(pthread_attr_setinheritsched(&attr, PTHREAD_EXPLICIT_SCHED) == 0);
    AUDIO_IGNORE(pthread_attr_setschedpolicy(&attr, SCHED_OTHER) == 0);
    AUDIO_IGNORE(pthread_attr_setstacksize(&attr, STACK_BYTES) == 0);
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
    // The precision is what fits behind "AS-".
    std::snprintf(mName, sizeof(mName), "AS-%.12s", name != nullptr ? name : "Default");
}

AudioThread::~AudioThread() {
    stop();
}

void AudioThread::start() {
    const AudioMutex::AutoLock lock(mLock);
    if (mRunning) {
        AUDIO_LOGE("Thread(%s) has been run already.\n", mName);
        return;
    }
    // A body that stopped itself could not join itself; its thread is still owed that.
    if (!mJoined && pthread_tryjoin_np(mThread, nullptr) != 0)
        AUDIO_IGNORE(pthread_detach(mThread) == 0);
    mJoined = true;
    mRunning = true;

    const int policy = _getPolicyId(mPolicy);
    struct sched_param param = {};
    param.sched_priority = mPriority == -1 ? sched_get_priority_max(policy) : mPriority;
    pthread_attr_t attr;
    AUDIO_IGNORE(pthread_attr_init(&attr) == 0);
    AUDIO_IGNORE(pthread_attr_setinheritsched(&attr, PTHREAD_EXPLICIT_SCHED) == 0);
    AUDIO_IGNORE(pthread_attr_setschedpolicy(&attr, policy) == 0);
    AUDIO_IGNORE(pthread_attr_setschedparam(&attr, &param) == 0);
    AUDIO_IGNORE(pthread_attr_setstacksize(&attr, STACK_BYTES) == 0);
    int ret = createDeafToSignals(mThread, attr, _run, this);
    if (ret == EPERM && cabinaudio::gAllowsOrdinaryThreads.load(std::memory_order_relaxed)) {
        AUDIO_LOGW("Thread(%s) may not be a real-time one.\n", mName);
        ret = createOrdinary(mThread, _run, this);
    }
    const int error = errno;  // whatever was there: the result says why, this only helps
    AUDIO_IGNORE(pthread_attr_destroy(&attr) == 0);

    if (ret == 0) {
        AUDIO_IGNORE(pthread_setname_np(mThread, mName) == 0);
        mJoined = false;
    } else {
        AUDIO_LOGE("Fail to start thread(%s) because %s(%d), ret=%d.\n", mName,
                   std::strerror(error), error, ret);
        mRunning = false;
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
        thread = mThread;  // a start() from elsewhere may put another one there
    }
    AUDIO_IGNORE(pthread_join(thread, nullptr) == 0);
}

void AudioThread::stop() {
    prepareStop();
    join();
}

// Not noexcept: pthread_exit unwinds through here.
void* AudioThread::_run(void* self) {
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
