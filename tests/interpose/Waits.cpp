// SPDX-License-Identifier: Apache-2.0
#include "tests/interpose/Waits.h"

#include "tests/support/TimeWidth.h"

#include <gnu/libc-version.h>
#include <unistd.h>

#include <cstdarg>

namespace cabinaudio::test::platform {

constinit decltype(sem_init) sem_init{"sem_init"};
constinit decltype(sem_destroy) sem_destroy{"sem_destroy"};
constinit decltype(sem_post) sem_post{"sem_post"};
constinit decltype(sem_wait) sem_wait{"sem_wait"};
constinit decltype(sem_timedwait) sem_timedwait{"sem_timedwait",
                                                symbolByTime("sem_timedwait", "__sem_timedwait64")};
constinit decltype(sem_clockwait) sem_clockwait{"sem_clockwait",
                                                symbolByTime("sem_clockwait", "__sem_clockwait64")};
constinit decltype(clock_gettime) clock_gettime{"clock_gettime",
                                                symbolByTime("clock_gettime", "__clock_gettime64")};
constinit decltype(syscall) syscall{"syscall"};
constinit decltype(gnu_get_libc_version) gnu_get_libc_version{"gnu_get_libc_version"};

}  // namespace cabinaudio::test::platform

namespace platform = cabinaudio::test::platform;

extern "C" {

int sem_init(sem_t* semaphore, int shared, unsigned value) noexcept {
    return platform::sem_init(semaphore, shared, value);
}
int sem_destroy(sem_t* semaphore) noexcept {
    return platform::sem_destroy(semaphore);
}
int sem_post(sem_t* semaphore) noexcept {
    return platform::sem_post(semaphore);
}
int sem_wait(sem_t* semaphore) {
    return platform::sem_wait(semaphore);
}
int sem_timedwait(sem_t* semaphore, const struct timespec* deadline) {
    return platform::sem_timedwait(semaphore, deadline);
}
int sem_clockwait(sem_t* semaphore, clockid_t clock, const struct timespec* deadline) {
    return platform::sem_clockwait(semaphore, clock, deadline);
}
int clock_gettime(clockid_t clock, struct timespec* time) noexcept {
    return platform::clock_gettime(clock, time);
}

// Reads more words than most callers pass, as the C library's own does.
[[gnu::no_sanitize_address]] long syscall(long number, ...) noexcept {
    va_list arguments;
    va_start(arguments, number);
    long words[6];
    for (long& word : words)
        word = va_arg(arguments, long);
    va_end(arguments);
    return platform::syscall(number, words[0], words[1], words[2], words[3], words[4], words[5]);
}

const char* gnu_get_libc_version() noexcept {
    return platform::gnu_get_libc_version();
}
}
