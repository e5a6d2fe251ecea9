// SPDX-License-Identifier: Apache-2.0
#include "tests/client/SlowThreads.h"

#include "tests/support/TimeWidth.h"

#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <utility>

namespace {

thread_local bool tHoldUp = false;
thread_local int tLapsedWaits = 0;
thread_local bool tMissesSignal = false;
thread_local std::binary_semaphore* tGo = nullptr;
thread_local bool tIsSlowToLock = false;
thread_local cabinaudio::test::LocksOfThisThread* tLocks = nullptr;
std::atomic<int> gHeldUp{0};

}  // namespace

namespace cabinaudio::test {

void holdUpInNextWait() {
    tHoldUp = true;
}

int heldUp() {
    return gHeldUp;
}

void missNextSignal() {
    tMissesSignal = true;
}

void sleepOnUntil(std::binary_semaphore& go) {
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

// These stand in front of the C library's functions (and of a sanitizer's, which are reached by
// their second names).
extern "C" int __interceptor_pthread_cond_timedwait(pthread_cond_t*, pthread_mutex_t*,
                                                    const struct timespec*) __attribute__((weak));
extern "C" int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                      const struct timespec* deadline) {
    using TimedWait = int (*)(pthread_cond_t*, pthread_mutex_t*, const struct timespec*);
    static const TimedWait next =
        __interceptor_pthread_cond_timedwait != nullptr
            ? __interceptor_pthread_cond_timedwait
            : reinterpret_cast<TimedWait>(
                  dlsym(RTLD_NEXT, cabinaudio::test::symbolByTime("pthread_cond_timedwait",
                                                                  "__pthread_cond_timedwait64")));
    if (!tHoldUp) {
        int result = next(condition, mutex, deadline);
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
    pthread_mutex_unlock(mutex);
    ++gHeldUp;
    for (;;)
        pause();
}

extern "C" int __interceptor_pthread_mutex_lock(pthread_mutex_t*) __attribute__((weak));
extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    using Lock = int (*)(pthread_mutex_t*);
    static const Lock next = __interceptor_pthread_mutex_lock != nullptr
                                 ? __interceptor_pthread_mutex_lock
                                 : reinterpret_cast<Lock>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    if (tLocks != nullptr) tLocks->locked.push_back(mutex);
    if (!tIsSlowToLock) return next(mutex);
    int result = 0;
    while ((result = pthread_mutex_trylock(mutex)) == EBUSY) {
        const struct timespec pause = {0, 20'000'000};
        nanosleep(&pause, nullptr);
    }
    return result;
}

extern "C" int __interceptor_pthread_mutex_unlock(pthread_mutex_t*) __attribute__((weak));
extern "C" int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
    using Unlock = int (*)(pthread_mutex_t*);
    static const Unlock next =
        __interceptor_pthread_mutex_unlock != nullptr
            ? __interceptor_pthread_mutex_unlock
            : reinterpret_cast<Unlock>(dlsym(RTLD_NEXT, "pthread_mutex_unlock"));
    if (tLocks != nullptr) tLocks->unlocked.push_back(mutex);
    return next(mutex);
}
