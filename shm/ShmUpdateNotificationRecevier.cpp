// SPDX-License-Identifier: Apache-2.0
#include "shm/ShmUpdateNotificationRecevier.h"

#include "foundation/LibraryThread.h"
#include "shm/Futex.h"
#include "shm/RingLog.h"

#include <cerrno>
#include <climits>
#include <cstring>

using cabinaudio::futexWait;
using cabinaudio::futexWake;
using cabinaudio::ringSite;

namespace {

std::uint32_t* wordOf(std::atomic<std::uint32_t>& value) {
    static_assert(sizeof(value) == sizeof(std::uint32_t));
    return reinterpret_cast<std::uint32_t*>(&value);
}

}  // namespace

ShmUpdateNotificationRecevier::ShmUpdateNotificationRecevier(
    const char* name, cabinaudio::sem_t* sem, ShareMemoryUpdateNotificationCallback* callback)
    : AudioThread(name, -1, POLICY_RR), mSem(sem), mCallback(callback) {}

void ShmUpdateNotificationRecevier::launch() {
    mBodyRuns = 1;
    cabinaudio::LibraryThread::start(*this);
    if (!running()) mBodyRuns = 0;
}

void ShmUpdateNotificationRecevier::run() {
    mBody = pthread_self();
    if (!receive())
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, ringSite(__func__), "sem_wait failed:%s\n",
                     std::strerror(errno));
    if (mLeftToBody) {
        delete this;
        return;
    }
    mBodyRuns = 0;
    futexWake(wordOf(mBodyRuns), FUTEX_WAKE_PRIVATE, INT_MAX);
}

bool ShmUpdateNotificationRecevier::receive() {
    while (running()) {
        if (cabinaudio::sem_wait(mSem) != 0) return false;
        // The post may come from the owner, only to end the wait.
        if (running() && mCallback != nullptr) mCallback->notify();
    }
    return true;
}

bool ShmUpdateNotificationRecevier::waitForBodyEnd(long ms) {
    const struct timespec timeout = {static_cast<time_t>(ms / 1000), ms % 1000 * 1000000};
    if (mBodyRuns != 0) futexWait(wordOf(mBodyRuns), FUTEX_WAIT_PRIVATE, 1, &timeout);
    return mBodyRuns == 0;
}

bool ShmUpdateNotificationRecevier::isCaller() const {
    return mBodyRuns != 0 && pthread_equal(mBody, pthread_self()) != 0;
}

void ShmUpdateNotificationRecevier::leaveToBody() {
    mLeftToBody = true;
    cabinaudio::ignoreUnless(pthread_detach(pthread_self()) == 0, __func__,
                             "pthread_detach(pthread_self()) == 0");
}
