// SPDX-License-Identifier: Apache-2.0
#include "tests/interpose/Threads.h"

#include "tests/support/TimeWidth.h"

namespace cabinaudio::test::platform {

constinit decltype(pthread_mutexattr_init) pthread_mutexattr_init{"pthread_mutexattr_init"};
constinit decltype(pthread_mutexattr_setpshared) pthread_mutexattr_setpshared{
    "pthread_mutexattr_setpshared"};
constinit decltype(pthread_mutexattr_destroy) pthread_mutexattr_destroy{
    "pthread_mutexattr_destroy"};
constinit decltype(pthread_mutex_init) pthread_mutex_init{"pthread_mutex_init"};
constinit decltype(pthread_mutex_destroy) pthread_mutex_destroy{"pthread_mutex_destroy"};
constinit decltype(pthread_mutex_lock) pthread_mutex_lock{"pthread_mutex_lock"};
constinit decltype(pthread_mutex_unlock) pthread_mutex_unlock{"pthread_mutex_unlock"};
constinit decltype(pthread_condattr_init) pthread_condattr_init{"pthread_condattr_init"};
constinit decltype(pthread_condattr_setpshared) pthread_condattr_setpshared{
    "pthread_condattr_setpshared"};
constinit decltype(pthread_condattr_setclock) pthread_condattr_setclock{
    "pthread_condattr_setclock"};
constinit decltype(pthread_condattr_destroy) pthread_condattr_destroy{"pthread_condattr_destroy"};
constinit decltype(pthread_cond_init) pthread_cond_init{"pthread_cond_init"};
constinit decltype(pthread_cond_destroy) pthread_cond_destroy{"pthread_cond_destroy"};
constinit decltype(pthread_cond_wait) pthread_cond_wait{"pthread_cond_wait"};
constinit decltype(pthread_cond_timedwait) pthread_cond_timedwait{
    "pthread_cond_timedwait", symbolByTime("pthread_cond_timedwait", "__pthread_cond_timedwait64")};
constinit decltype(pthread_cond_signal) pthread_cond_signal{"pthread_cond_signal"};
constinit decltype(pthread_cond_broadcast) pthread_cond_broadcast{"pthread_cond_broadcast"};
constinit decltype(pthread_attr_init) pthread_attr_init{"pthread_attr_init"};
constinit decltype(pthread_attr_setinheritsched) pthread_attr_setinheritsched{
    "pthread_attr_setinheritsched"};
constinit decltype(pthread_attr_setschedpolicy) pthread_attr_setschedpolicy{
    "pthread_attr_setschedpolicy"};
constinit decltype(pthread_attr_setschedparam) pthread_attr_setschedparam{
    "pthread_attr_setschedparam"};
constinit decltype(pthread_attr_destroy) pthread_attr_destroy{"pthread_attr_destroy"};
constinit decltype(pthread_create) pthread_create{"pthread_create"};
constinit decltype(pthread_setname_np) pthread_setname_np{"pthread_setname_np"};
constinit decltype(pthread_join) pthread_join{"pthread_join"};

}  // namespace cabinaudio::test::platform

namespace platform = cabinaudio::test::platform;

extern "C" {

int pthread_mutexattr_init(pthread_mutexattr_t* attr) noexcept {
    return platform::pthread_mutexattr_init(attr);
}
int pthread_mutexattr_setpshared(pthread_mutexattr_t* attr, int sharing) noexcept {
    return platform::pthread_mutexattr_setpshared(attr, sharing);
}
int pthread_mutexattr_destroy(pthread_mutexattr_t* attr) noexcept {
    return platform::pthread_mutexattr_destroy(attr);
}
int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attr) noexcept {
    return platform::pthread_mutex_init(mutex, attr);
}
int pthread_mutex_destroy(pthread_mutex_t* mutex) noexcept {
    return platform::pthread_mutex_destroy(mutex);
}
int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    return platform::pthread_mutex_lock(mutex);
}
int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
    return platform::pthread_mutex_unlock(mutex);
}
int pthread_condattr_init(pthread_condattr_t* attr) noexcept {
    return platform::pthread_condattr_init(attr);
}
int pthread_condattr_setpshared(pthread_condattr_t* attr, int sharing) noexcept {
    return platform::pthread_condattr_setpshared(attr, sharing);
}
int pthread_condattr_setclock(pthread_condattr_t* attr, clockid_t clock) noexcept {
    return platform::pthread_condattr_setclock(attr, clock);
}
int pthread_condattr_destroy(pthread_condattr_t* attr) noexcept {
    return platform::pthread_condattr_destroy(attr);
}
int pthread_cond_init(pthread_cond_t* cond, const pthread_condattr_t* attr) noexcept {
    return platform::pthread_cond_init(cond, attr);
}
int pthread_cond_destroy(pthread_cond_t* cond) noexcept {
    return platform::pthread_cond_destroy(cond);
}
int pthread_cond_wait(pthread_cond_t* cond, pthread_mutex_t* mutex) {
    return platform::pthread_cond_wait(cond, mutex);
}
int pthread_cond_timedwait(pthread_cond_t* cond, pthread_mutex_t* mutex,
                           const struct timespec* deadline) {
    return platform::pthread_cond_timedwait(cond, mutex, deadline);
}
int pthread_cond_signal(pthread_cond_t* cond) noexcept {
    return platform::pthread_cond_signal(cond);
}
int pthread_cond_broadcast(pthread_cond_t* cond) noexcept {
    return platform::pthread_cond_broadcast(cond);
}
int pthread_attr_init(pthread_attr_t* attr) noexcept {
    return platform::pthread_attr_init(attr);
}
int pthread_attr_setinheritsched(pthread_attr_t* attr, int inherit) noexcept {
    return platform::pthread_attr_setinheritsched(attr, inherit);
}
int pthread_attr_setschedpolicy(pthread_attr_t* attr, int policy) noexcept {
    return platform::pthread_attr_setschedpolicy(attr, policy);
}
int pthread_attr_setschedparam(pthread_attr_t* attr, const struct sched_param* param) noexcept {
    return platform::pthread_attr_setschedparam(attr, param);
}
int pthread_attr_destroy(pthread_attr_t* attr) noexcept {
    return platform::pthread_attr_destroy(attr);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attr, void* (*entry)(void*),
                   void* argument) noexcept {
    return platform::pthread_create(thread, attr, entry, argument);
}
int pthread_setname_np(pthread_t thread, const char* name) noexcept {
    return platform::pthread_setname_np(thread, name);
}
int pthread_join(pthread_t thread, void** result) {
    return platform::pthread_join(thread, result);
}
}
