// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <cstdint>
#include <ctime>

/// A point in time, and the clock of the whole library. Timestamps and sleeps are in microseconds;
/// the waits of the other classes are in milliseconds.
///
/// The clock is CLOCK_MONOTONIC, but CLOCK_REALTIME on C libraries that cannot wait for a semaphore
/// on the monotonic clock (see advancedTimeoutPolicy()). The static functions may be called from
/// any thread; an object may be used by one thread at a time. Only sleep() blocks.
class CABINAUDIO_API AudioTime {
public:
    /// Stores the current time.
    AudioTime();

    /// Fills `ts` with the current time; a failure is logged.
    static void now(struct timespec* ts);

    /// @return the current time in microseconds
    [[nodiscard]] static std::uint64_t now();

    /// Moves the stored time by `us` microseconds, forwards or backwards.
    void travel(std::int64_t us);

    /// @return the stored time, for the platform's timed waits; valid for the object's lifetime
    [[nodiscard]] struct timespec* getTimespec();

    /// Sleeps `us` microseconds. A signal ends the sleep early.
    /// @return 0, or -1 with errno set when the sleep ended early
    static std::int32_t sleep(std::uint64_t us);

    /// @return true when the C library's version string does not sort before "2.30", the version
    ///         that added semaphore waits on the monotonic clock. Versions are compared as strings.
    [[nodiscard]] static bool advancedTimeoutPolicy();

private:
    struct timespec mTime;
};
