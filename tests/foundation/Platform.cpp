// SPDX-License-Identifier: Apache-2.0
#include "tests/foundation/Platform.h"

#include "tests/support/TimeWidth.h"

#include <dlfcn.h>
#include <pthread.h>
#include <semaphore.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>

namespace {

using cabinaudio::test::Creation;
using cabinaudio::test::Failing;
using cabinaudio::test::symbolByTime;
using cabinaudio::test::TimedWait;

constinit thread_local const char* tFailing = nullptr;
constinit thread_local int tError = 0;
constinit thread_local bool tStillWorks = false;
constinit thread_local Creation tCreation = {};
constinit thread_local int tSharing = -1;
constinit thread_local TimedWait tTimedWait = {};
constinit std::atomic<unsigned> gJoins{0};
constinit std::atomic<bool> gPretends{false};
constinit std::atomic<const char*> gVersion{nullptr};

template <std::size_t size>
struct Name {
    char text[size];
    consteval Name(const char (&literal)[size]) { std::copy_n(literal, size, text); }
};

constexpr const char* kTimed[][2] = {
    {"clock_gettime", symbolByTime("clock_gettime", "__clock_gettime64")},
    {"sem_clockwait", symbolByTime("sem_clockwait", "__sem_clockwait64")},
    {"sem_timedwait", symbolByTime("sem_timedwait", "__sem_timedwait64")},
    {"pthread_cond_timedwait",
     symbolByTime("pthread_cond_timedwait", "__pthread_cond_timedwait64")},
};

const char* symbolOf(const char* name) {
    for (const auto& row : kTimed)
        if (std::strcmp(row[0], name) == 0) return row[1];
    return name;
}

/// The definition behind ours. A sanitizer's stands in the program, too, under another name.
void* findNext(const char* name) {
    char intercepted[96] = "__interceptor_";
    std::strncat(intercepted, name, sizeof(intercepted) - std::strlen(intercepted) - 1);
    void* const sanitizers = dlsym(RTLD_DEFAULT, intercepted);
    return sanitizers != nullptr ? sanitizers : dlsym(RTLD_NEXT, symbolOf(name));
}

template <Name name, typename... Args>
int next(Args... args) {
    using Function = int(Args...);
    static constinit std::atomic<Function*> found{nullptr};
    Function* function = found.load(std::memory_order_acquire);
    if (function == nullptr) {
        function = reinterpret_cast<Function*>(findNext(name.text));
        found.store(function, std::memory_order_release);
    }
    return function(args...);
}

bool takeFailure(const char* name) {
    if (tFailing == nullptr || std::strcmp(tFailing, name) != 0) return false;
    tFailing = nullptr;
    return true;
}

/// For functions that return the error number.
template <Name name, typename... Args>
int pass(Args... args) {
    if (!takeFailure(name.text)) return next<name>(args...);
    if (tStillWorks) next<name>(args...);
    return tError;
}

/// For functions that return -1 and leave the error number in errno.
template <Name name, typename... Args>
int passErrno(Args... args) {
    if (!takeFailure(name.text)) return next<name>(args...);
    if (tStillWorks) next<name>(args...);
    errno = tError;
    return -1;
}

}  // namespace

namespace cabinaudio::test {

Failing::Failing(const char* function, int error, Work work) {
    tError = error;
    tStillWorks = work == Work::done;
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
    gPretends = true;
}

}  // namespace cabinaudio::test

extern "C" {

int pthread_mutexattr_init(pthread_mutexattr_t* attr) noexcept {
    return pass<"pthread_mutexattr_init">(attr);
}
int pthread_mutexattr_setpshared(pthread_mutexattr_t* attr, int sharing) noexcept {
    tSharing = sharing;
    return pass<"pthread_mutexattr_setpshared">(attr, sharing);
}
int pthread_mutexattr_destroy(pthread_mutexattr_t* attr) noexcept {
    return pass<"pthread_mutexattr_destroy">(attr);
}
int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attr) noexcept {
    return pass<"pthread_mutex_init">(mutex, attr);
}
int pthread_mutex_destroy(pthread_mutex_t* mutex) noexcept {
    return pass<"pthread_mutex_destroy">(mutex);
}
int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    return pass<"pthread_mutex_lock">(mutex);
}
int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
    return pass<"pthread_mutex_unlock">(mutex);
}

int pthread_condattr_init(pthread_condattr_t* attr) noexcept {
    return pass<"pthread_condattr_init">(attr);
}
int pthread_condattr_setpshared(pthread_condattr_t* attr, int sharing) noexcept {
    tSharing = sharing;
    return pass<"pthread_condattr_setpshared">(attr, sharing);
}
int pthread_condattr_setclock(pthread_condattr_t* attr, clockid_t clock) noexcept {
    return pass<"pthread_condattr_setclock">(attr, clock);
}
int pthread_condattr_destroy(pthread_condattr_t* attr) noexcept {
    return pass<"pthread_condattr_destroy">(attr);
}
int pthread_cond_init(pthread_cond_t* cond, const pthread_condattr_t* attr) noexcept {
    return pass<"pthread_cond_init">(cond, attr);
}
int pthread_cond_destroy(pthread_cond_t* cond) noexcept {
    return pass<"pthread_cond_destroy">(cond);
}
int pthread_cond_wait(pthread_cond_t* cond, pthread_mutex_t* mutex) {
    return pass<"pthread_cond_wait">(cond, mutex);
}
int pthread_cond_timedwait(pthread_cond_t* cond, pthread_mutex_t* mutex,
                           const struct timespec* deadline) {
    tTimedWait = {"pthread_cond_timedwait", *deadline, {}};
    return pass<"pthread_cond_timedwait">(cond, mutex, deadline);
}
int pthread_cond_signal(pthread_cond_t* cond) noexcept {
    return pass<"pthread_cond_signal">(cond);
}
int pthread_cond_broadcast(pthread_cond_t* cond) noexcept {
    return pass<"pthread_cond_broadcast">(cond);
}

int sem_init(sem_t* semaphore, int shared, unsigned value) noexcept {
    return passErrno<"sem_init">(semaphore, shared, value);
}
int sem_destroy(sem_t* semaphore) noexcept {
    return passErrno<"sem_destroy">(semaphore);
}
int sem_post(sem_t* semaphore) noexcept {
    return passErrno<"sem_post">(semaphore);
}
int sem_wait(sem_t* semaphore) {
    return passErrno<"sem_wait">(semaphore);
}
int sem_timedwait(sem_t* semaphore, const struct timespec* deadline) {
    tTimedWait = {"sem_timedwait", *deadline, {}};
    return passErrno<"sem_timedwait">(semaphore, deadline);
}
int sem_clockwait(sem_t* semaphore, clockid_t clock, const struct timespec* deadline) {
    tTimedWait = {"sem_clockwait", *deadline, clock};
    return passErrno<"sem_clockwait">(semaphore, clock, deadline);
}

int pthread_attr_init(pthread_attr_t* attr) noexcept {
    return pass<"pthread_attr_init">(attr);
}
int pthread_attr_setinheritsched(pthread_attr_t* attr, int inherit) noexcept {
    return pass<"pthread_attr_setinheritsched">(attr, inherit);
}
int pthread_attr_setschedpolicy(pthread_attr_t* attr, int policy) noexcept {
    return pass<"pthread_attr_setschedpolicy">(attr, policy);
}
int pthread_attr_setschedparam(pthread_attr_t* attr, const struct sched_param* param) noexcept {
    return pass<"pthread_attr_setschedparam">(attr, param);
}
int pthread_attr_destroy(pthread_attr_t* attr) noexcept {
    return pass<"pthread_attr_destroy">(attr);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attr, void* (*entry)(void*),
                   void* argument) noexcept {
    if (attr != nullptr) {
        struct sched_param param = {};
        pthread_attr_getinheritsched(attr, &tCreation.inherit);
        pthread_attr_getschedpolicy(attr, &tCreation.policy);
        pthread_attr_getschedparam(attr, &param);
        tCreation.priority = param.sched_priority;
    }
    return pass<"pthread_create">(thread, attr, entry, argument);
}
int pthread_setname_np(pthread_t thread, const char* name) noexcept {
    return pass<"pthread_setname_np">(thread, name);
}
int pthread_join(pthread_t thread, void** result) {
    ++gJoins;
    return pass<"pthread_join">(thread, result);
}

int clock_gettime(clockid_t clock, struct timespec* time) noexcept {
    return passErrno<"clock_gettime">(clock, time);
}

const char* gnu_get_libc_version() noexcept {
    if (gPretends) return gVersion;
    using Function = const char*();
    static const auto real = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "gnu_get_libc_version"));
    return real();
}
}
