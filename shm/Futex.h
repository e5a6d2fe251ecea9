// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>

namespace cabinaudio {

#ifdef SYS_futex_time64
/// SYS_futex of a 32-bit kernel interface takes a timespec of 32-bit times. The C library's own is
/// wider in programs that are built for times after 2038.
constexpr long FUTEX_WITH_TIME = sizeof(time_t) > sizeof(long) ? SYS_futex_time64 : SYS_futex;
#else
constexpr long FUTEX_WITH_TIME = SYS_futex;
#endif

/// Sleeps while `word` holds `value`, at most `timeout` (null: without a limit).
/// @return 0 after a wake-up, -1 with errno EAGAIN (another value), EINTR or ETIMEDOUT
inline long futexWait(std::uint32_t* word, int operation, std::uint32_t value,
                      const struct timespec* timeout) {
    return syscall(FUTEX_WITH_TIME, word, operation, value, timeout, nullptr, 0);
}

inline void futexWake(std::uint32_t* word, int operation, int sleepers) {
    syscall(SYS_futex, word, operation, sleepers, nullptr, nullptr, 0);
}

}  // namespace cabinaudio
