// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/interpose/Interposed.h"

#include <pthread.h>

#include <ctime>

/// Threads, locks and conditions.
namespace cabinaudio::test::platform {

extern Interposed<int(pthread_mutexattr_t*)> pthread_mutexattr_init;
extern Interposed<int(pthread_mutexattr_t*, int sharing)> pthread_mutexattr_setpshared;
extern Interposed<int(pthread_mutexattr_t*)> pthread_mutexattr_destroy;
extern Interposed<int(pthread_mutex_t*, const pthread_mutexattr_t*)> pthread_mutex_init;
extern Interposed<int(pthread_mutex_t*)> pthread_mutex_destroy;
extern Interposed<int(pthread_mutex_t*)> pthread_mutex_lock;
extern Interposed<int(pthread_mutex_t*)> pthread_mutex_unlock;

extern Interposed<int(pthread_condattr_t*)> pthread_condattr_init;
extern Interposed<int(pthread_condattr_t*, int sharing)> pthread_condattr_setpshared;
extern Interposed<int(pthread_condattr_t*, clockid_t)> pthread_condattr_setclock;
extern Interposed<int(pthread_condattr_t*)> pthread_condattr_destroy;
extern Interposed<int(pthread_cond_t*, const pthread_condattr_t*)> pthread_cond_init;
extern Interposed<int(pthread_cond_t*)> pthread_cond_destroy;
extern Interposed<int(pthread_cond_t*, pthread_mutex_t*)> pthread_cond_wait;
extern Interposed<int(pthread_cond_t*, pthread_mutex_t*, const struct timespec* deadline)>
    pthread_cond_timedwait;
extern Interposed<int(pthread_cond_t*)> pthread_cond_signal;
extern Interposed<int(pthread_cond_t*)> pthread_cond_broadcast;

extern Interposed<int(pthread_attr_t*)> pthread_attr_init;
extern Interposed<int(pthread_attr_t*, int inherit)> pthread_attr_setinheritsched;
extern Interposed<int(pthread_attr_t*, int policy)> pthread_attr_setschedpolicy;
extern Interposed<int(pthread_attr_t*, const struct sched_param*)> pthread_attr_setschedparam;
extern Interposed<int(pthread_attr_t*)> pthread_attr_destroy;
extern Interposed<int(pthread_t*, const pthread_attr_t*, void* (*entry)(void*), void* argument)>
    pthread_create;
extern Interposed<int(pthread_t, const char* name)> pthread_setname_np;
extern Interposed<int(pthread_t, void** result)> pthread_join;

}  // namespace cabinaudio::test::platform
