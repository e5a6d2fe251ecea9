// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>

namespace cabinaudio {

#ifdef SYS_futex_time64
/// On a 32-bit kernel interface, SYS_futex takes a timespec with 32-bit times. The C library's
/// timespec is wider in programs built with 64-bit time_t.
constexpr long FUTEX_WITH_TIME = sizeof(time_t) > sizeof(long) ? SYS_futex_time64 : SYS_futex;
#else
constexpr long FUTEX_WITH_TIME = SYS_futex;
#endif

/// Blocks while `word` holds `value`, for at most `timeout` (null: no limit).
/// @return 0 after a wake-up, -1 with errno EAGAIN (another value), EINTR or ETIMEDOUT
inline long futexWait(std::uint32_t* word, int operation, std::uint32_t value,
                      const struct timespec* timeout) {
    return syscall(FUTEX_WITH_TIME, word, operation, value, timeout, nullptr, 0);
}

inline void futexWake(std::uint32_t* word, int operation, int sleepers) {
    syscall(SYS_futex, word, operation, sleepers, nullptr, nullptr, 0);
}

}  // namespace cabinaudio
