// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <semaphore.h>

#include <ctime>

// Weak, so that the library also loads where the C library lacks them; test the address first.
extern "C" {
__attribute__((weak)) const char* gnu_get_libc_version() noexcept;
__attribute__((weak)) int sem_clockwait(sem_t* semaphore, clockid_t clock,
                                        const struct timespec* deadline);
}
