// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>

/// This program's own definitions of the platform functions below the foundation: they pass every
/// call on, unless a test has something else in mind, and take notes.
namespace cabinaudio::test {

/// Makes the next call of one platform function on this thread report an error.
class Failing {
public:
    /// Whether the function still does its work. Set-up and clean-up must, or what follows them
    /// would work on garbage.
    enum class Work { Skipped, Done };

    Failing(const char* function, int error, Work work = Work::Skipped);
    ~Failing();
    Failing(const Failing&) = delete;
    Failing& operator=(const Failing&) = delete;

    /// Whether that call has come.
    [[nodiscard]] bool happened() const;
};

/// What the last pthread_create of this thread asked for.
struct Creation {
    int inherit;
    int policy;
    int priority;
};
[[nodiscard]] Creation lastCreation();

/// What this thread's last mutex or condition was made for: PTHREAD_PROCESS_SHARED or _PRIVATE.
[[nodiscard]] int lastSharing();

/// Calls of pthread_join that have begun, on all threads.
[[nodiscard]] unsigned joins();

/// Time of a wait that is expected to end before it, in milliseconds.
inline constexpr std::uint64_t LONG_MS = 60000;

/// The deadline of this thread's last timed wait, and the function that waited.
struct TimedWait {
    const char* function;
    struct timespec deadline;
    clockid_t clock;  // of sem_clockwait only
};
[[nodiscard]] TimedWait lastTimedWait();

/// What the C library says its version is, for the whole process; null is a possible answer.
void pretendLibcVersion(const char* version);

}  // namespace cabinaudio::test
