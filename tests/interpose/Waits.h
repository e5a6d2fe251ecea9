// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/interpose/Interposed.h"

#include <semaphore.h>

#include <ctime>

/// The clock, semaphores, system calls, and the C library's version, which decides how the library
/// waits.
namespace cabinaudio::test::platform {

extern Interposed<int(clockid_t, struct timespec*)> clock_gettime;

extern Interposed<int(sem_t*, int shared, unsigned value)> sem_init;
extern Interposed<int(sem_t*)> sem_destroy;
extern Interposed<int(sem_t*)> sem_post;
extern Interposed<int(sem_t*)> sem_wait;
extern Interposed<int(sem_t*, const struct timespec* deadline)> sem_timedwait;
extern Interposed<int(sem_t*, clockid_t, const struct timespec* deadline)> sem_clockwait;

/// With as many arguments as a system call can have.
extern Interposed<long(long number, long, long, long, long, long, long)> syscall;

extern Interposed<const char*()> gnu_get_libc_version;

}  // namespace cabinaudio::test::platform
