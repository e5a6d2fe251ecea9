// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>

namespace cabinaudio::bench {

/// Time of a system clock, in nanoseconds.
inline std::uint64_t nanoseconds(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000 +
           static_cast<std::uint64_t>(time.tv_nsec);
}

/// Processor time that a running process has taken so far, in nanoseconds. 0 when there is none.
inline std::uint64_t processorTimeOf(pid_t process) {
    clockid_t clock = 0;
    return clock_getcpuclockid(process, &clock) == 0 ? nanoseconds(clock) : 0;
}

/// The clock of the library's time stamps.
inline std::uint64_t nowNs() {
    return nanoseconds(CLOCK_MONOTONIC);
}
inline std::uint64_t nowUs() {
    return nowNs() / 1000;
}

}  // namespace cabinaudio::bench
