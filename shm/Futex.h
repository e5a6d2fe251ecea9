// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>

namespace cabinaudio {

/// Sleeps while `word` holds `value`, at most `timeout` (null: without a limit).
/// @return 0 after a wake-up, -1 with errno EAGAIN (another value), EINTR or ETIMEDOUT
inline long futexWait(std::uint32_t* word, int operation, std::uint32_t value,
                      const struct timespec* timeout) {
    return syscall(SYS_futex, word, operation, value, timeout, nullptr, 0);
}

inline void futexWake(std::uint32_t* word, int operation, int sleepers) {
    syscall(SYS_futex, word, operation, sleepers, nullptr, nullptr, 0);
}

}  // namespace cabinaudio
