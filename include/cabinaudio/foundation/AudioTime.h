// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <cstdint>
#include <ctime>

/// A point in time, and the clock of the whole library. Time stamps and sleeps are in microseconds;
/// the waits of the other classes are in milliseconds.
///
/// The clock is CLOCK_MONOTONIC, but CLOCK_REALTIME on C libraries that cannot wait for a semaphore
/// on the monotonic clock (see advancedTimeoutPolicy()). The static functions may be called by any
/// thread, those of an object by one at a time; none but sleep() blocks.
class CABINAUDIO_API AudioTime {
public:
    /// Holds the time of its construction.
    AudioTime();

    /// Fills `ts` with the present time; a failure is logged.
    static void now(struct timespec* ts);

    /// @return the present time in microseconds
    [[nodiscard]] static std::uint64_t now();

    /// Moves the held time by `us` microseconds, forwards or backwards.
    void travel(std::int64_t us);

    /// @return the held time, for the platform's timed waits; valid as long as the object
    [[nodiscard]] struct timespec* getTimespec();

    /// Sleeps `us` microseconds. A signal ends the sleep early.
    /// @return 0, or -1 with errno set when the sleep ended early
    static std::int32_t sleep(std::uint64_t us);

    /// @return true when the C library's version text does not sort before "2.30", the version that
    /// brought semaphore waits on the monotonic clock. The texts are compared as strings.
    [[nodiscard]] static bool advancedTimeoutPolicy();

private:
    struct timespec mTime;
};
