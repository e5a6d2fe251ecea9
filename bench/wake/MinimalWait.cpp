// SPDX-License-Identifier: Apache-2.0
#include "bench/wake/MinimalWait.h"

#include <ctime>

namespace cabinaudio::bench {

namespace {

constexpr time_t LIMIT_S = 2;

}  // namespace

MinimalWait::MinimalWait(sem_t* semaphore) : mSemaphore(semaphore) {
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&mChanged, &attributes);
    pthread_condattr_destroy(&attributes);
    mThread.emplace("MinimalWait", pass, this);
}

MinimalWait::~MinimalWait() {
    mRunning = false;
    sem_post(mSemaphore);
    mThread.reset();
    pthread_cond_destroy(&mChanged);
}

bool MinimalWait::wait() {
    timespec limit{};
    clock_gettime(CLOCK_MONOTONIC, &limit);
    limit.tv_sec += LIMIT_S;
    pthread_mutex_lock(&mLock);
    mIsBlocked = true;
    int error = 0;
    while (!mIsPosted && error == 0)
        error = pthread_cond_timedwait(&mChanged, &mLock, &limit);
    const bool isPosted = mIsPosted;
    mIsPosted = false;
    mIsBlocked = false;
    pthread_mutex_unlock(&mLock);
    return isPosted;
}

void* MinimalWait::pass(void* self) {
    auto& wait = *static_cast<MinimalWait*>(self);
    for (;;) {
        while (sem_wait(wait.mSemaphore) != 0) {
        }
        if (!wait.mRunning) return nullptr;
        wait.passOn();
    }
}

void MinimalWait::passOn() {
    pthread_mutex_lock(&mLock);
    mIsPosted = true;
    const bool isBlocked = mIsBlocked;
    pthread_mutex_unlock(&mLock);
    if (isBlocked) pthread_cond_signal(&mChanged);
}

}  // namespace cabinaudio::bench
