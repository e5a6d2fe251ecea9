// SPDX-License-Identifier: Apache-2.0
#include "tests/foundation/Platform.h"

#include "tests/interpose/Threads.h"
#include "tests/interpose/Waits.h"

#include <cerrno>
#include <cstring>

namespace cabinaudio::test {
namespace {

constinit thread_local const char* tFailing = nullptr;
constinit thread_local int tError = 0;
constinit thread_local bool tStillWorks = false;
constinit thread_local Creation tCreation = {};
constinit thread_local int tSharing = -1;
constinit thread_local TimedWait tTimedWait = {};
constinit std::atomic<unsigned> gJoins{0};
constinit std::atomic<const char*> gVersion{nullptr};

bool takeFailure(const char* name) {
    if (tFailing == nullptr || std::strcmp(tFailing, name) != 0) return false;
    tFailing = nullptr;
    return true;
}

/// Functions of threads return the error number. All others return -1 and leave it in errno.
int failureOf(const char* name) {
    if (std::strncmp(name, "pthread_", std::strlen("pthread_")) == 0) return tError;
    errno = tError;
    return -1;
}

template <auto& FUNCTION, typename... Args>
int callOrFail(Args... args) {
    if (!takeFailure(FUNCTION.name())) return FUNCTION.real(args...);
    if (tStillWorks) FUNCTION.real(args...);
    return failureOf(FUNCTION.name());
}

template <auto& FUNCTION, typename... Args>
void letFail(Interposed<int(Args...)>& function) {
    function.set(callOrFail<FUNCTION, Args...>);
}

template <auto&... FUNCTIONS>
void letAllFail() {
    (letFail<FUNCTIONS>(FUNCTIONS), ...);
}

void letAllFunctionsFail() {
    using namespace cabinaudio::test::platform;  // NOLINT: all of them
    letAllFail<pthread_mutexattr_init, pthread_mutexattr_destroy, pthread_mutex_init,
               pthread_mutex_destroy, pthread_mutex_lock, pthread_mutex_unlock,
               pthread_condattr_init, pthread_condattr_setclock, pthread_condattr_destroy,
               pthread_cond_init, pthread_cond_destroy, pthread_cond_wait, pthread_cond_signal,
               pthread_cond_broadcast, pthread_attr_init, pthread_attr_setinheritsched,
               pthread_attr_setschedpolicy, pthread_attr_setschedparam, pthread_attr_destroy,
               pthread_setname_np, sem_init, sem_destroy, sem_post, sem_wait, clock_gettime>();
}

int noteMutexSharing(pthread_mutexattr_t* attr, int sharing) {
    tSharing = sharing;
    return callOrFail<platform::pthread_mutexattr_setpshared>(attr, sharing);
}

int noteCondSharing(pthread_condattr_t* attr, int sharing) {
    tSharing = sharing;
    return callOrFail<platform::pthread_condattr_setpshared>(attr, sharing);
}

int noteCondWait(pthread_cond_t* cond, pthread_mutex_t* mutex, const struct timespec* deadline) {
    tTimedWait = {"pthread_cond_timedwait", *deadline, {}};
    return callOrFail<platform::pthread_cond_timedwait>(cond, mutex, deadline);
}

int noteTimedWait(sem_t* semaphore, const struct timespec* deadline) {
    tTimedWait = {"sem_timedwait", *deadline, {}};
    return callOrFail<platform::sem_timedwait>(semaphore, deadline);
}

int noteClockWait(sem_t* semaphore, clockid_t clock, const struct timespec* deadline) {
    tTimedWait = {"sem_clockwait", *deadline, clock};
    return callOrFail<platform::sem_clockwait>(semaphore, clock, deadline);
}

int noteCreation(pthread_t* thread, const pthread_attr_t* attr, void* (*entry)(void*),
                 void* argument) {
    if (attr != nullptr) {
        struct sched_param param = {};
        pthread_attr_getinheritsched(attr, &tCreation.inherit);
        pthread_attr_getschedpolicy(attr, &tCreation.policy);
        pthread_attr_getschedparam(attr, &param);
        tCreation.priority = param.sched_priority;
    }
    return callOrFail<platform::pthread_create>(thread, attr, entry, argument);
}

int countJoin(pthread_t thread, void** result) {
    ++gJoins;
    return callOrFail<platform::pthread_join>(thread, result);
}

[[maybe_unused]] const bool SETS_HOOKS = [] {
    letAllFunctionsFail();
    platform::pthread_mutexattr_setpshared.set(noteMutexSharing);
    platform::pthread_condattr_setpshared.set(noteCondSharing);
    platform::pthread_cond_timedwait.set(noteCondWait);
    platform::sem_timedwait.set(noteTimedWait);
    platform::sem_clockwait.set(noteClockWait);
    platform::pthread_create.set(noteCreation);
    platform::pthread_join.set(countJoin);
    return true;
}();

}  // namespace

Failing::Failing(const char* function, int error, Work work) {
    tError = error;
    tStillWorks = work == Work::Done;
    tFailing = function;
}

Failing::~Failing() {
    tFailing = nullptr;
}

bool Failing::happened() const {
    return tFailing == nullptr;
}

Creation lastCreation() {
    return tCreation;
}

int lastSharing() {
    return tSharing;
}

unsigned joins() {
    return gJoins;
}

TimedWait lastTimedWait() {
    return tTimedWait;
}

void pretendLibcVersion(const char* version) {
    gVersion = version;
    platform::gnu_get_libc_version.set([]() -> const char* { return gVersion; });
}

}  // namespace cabinaudio::test
