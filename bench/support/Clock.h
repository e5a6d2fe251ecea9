// SPDX-License-Identifier: Apache-2.0
#pragma once

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

/// The clock of the library's time stamps.
inline std::uint64_t nowNs() {
    return nanoseconds(CLOCK_MONOTONIC);
}
inline std::uint64_t nowUs() {
    return nowNs() / 1000;
}

}  // namespace cabinaudio::bench
