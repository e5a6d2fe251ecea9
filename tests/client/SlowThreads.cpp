// SPDX-License-Identifier: Apache-2.0
#include "tests/client/SlowThreads.h"

#include "tests/interpose/Threads.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <utility>

namespace cabinaudio::test {
namespace {

thread_local bool tHoldUp = false;
thread_local int tLapsedWaits = 0;
thread_local bool tMissesSignal = false;
thread_local std::binary_semaphore* tGo = nullptr;
thread_local bool tIsSlowToLock = false;
thread_local LocksOfThisThread* tLocks = nullptr;
std::atomic<int> gHeldUp{0};

int waitSlowly(pthread_cond_t* condition, pthread_mutex_t* mutex, const struct timespec* deadline) {
    if (tHoldUp) {
        pthread_mutex_unlock(mutex);
        ++gHeldUp;
        for (;;)
            pause();
    }
    int result = platform::pthread_cond_timedwait.real(condition, mutex, deadline);
    if (result == 0 && tMissesSignal) {
        tMissesSignal = false;
        result = ETIMEDOUT;
    }
    if (result == ETIMEDOUT) ++tLapsedWaits;
    if (std::binary_semaphore* const go = std::exchange(tGo, nullptr)) {
        pthread_mutex_unlock(mutex);
        go->acquire();
        pthread_mutex_lock(mutex);
    }
    return result;
}

int lockSlowly(pthread_mutex_t* mutex) {
    if (tLocks != nullptr) tLocks->locked.push_back(mutex);
    if (!tIsSlowToLock) return platform::pthread_mutex_lock.real(mutex);
    int result = 0;
    while ((result = pthread_mutex_trylock(mutex)) == EBUSY) {
        const struct timespec pause = {0, 20'000'000};
        nanosleep(&pause, nullptr);
    }
    return result;
}

int noteUnlock(pthread_mutex_t* mutex) {
    if (tLocks != nullptr) tLocks->unlocked.push_back(mutex);
    return platform::pthread_mutex_unlock.real(mutex);
}

const Hooked WAIT(platform::pthread_cond_timedwait, waitSlowly);
const Hooked LOCK(platform::pthread_mutex_lock, lockSlowly);
const Hooked UNLOCK(platform::pthread_mutex_unlock, noteUnlock);

}  // namespace

void holdUpInNextWait() {
    tHoldUp = true;
}

int heldUp() {
    return gHeldUp;
}

void missNextSignal() {
    tMissesSignal = true;
}

void sleepUntilReleased(std::binary_semaphore& go) {
    tGo = &go;
}

SlowToLock::SlowToLock() {
    tIsSlowToLock = true;
}

SlowToLock::~SlowToLock() {
    tIsSlowToLock = false;
}

LocksOfThisThread::LocksOfThisThread() {
    tLocks = this;
}

LocksOfThisThread::~LocksOfThisThread() {
    tLocks = nullptr;
}

int lapsedWaits() {
    return tLapsedWaits;
}

}  // namespace cabinaudio::test
