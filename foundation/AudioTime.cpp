// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioTime.h>

#include "foundation/LibraryClock.h"
#include "foundation/Log.h"
#include "foundation/WeakLibc.h"

#include <sys/select.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

namespace {

constexpr std::int64_t MICROSECONDS_PER_SECOND = 1'000'000;
constexpr std::int64_t NANOSECONDS_PER_SECOND = 1'000'000'000;
constexpr time_t LAST_SECOND = std::numeric_limits<time_t>::max();
constexpr time_t FIRST_SECOND = std::numeric_limits<time_t>::min();

bool semaphoresCanWaitOnTheMonotonicClock() {
    if (sem_clockwait == nullptr || gnu_get_libc_version == nullptr) return false;
    const char* const version = gnu_get_libc_version();
    // Deliberate: compared as text, so that "2.4" counts as newer than "2.30".
    return version != nullptr && std::strcmp(version, "2.30") >= 0;
}

}  // namespace

constinit std::atomic<clockid_t> cabinaudio::gLibraryClock{CLOCK_NOT_CHOSEN};

clockid_t cabinaudio::chooseClock() {
    const clockid_t clock =
        semaphoresCanWaitOnTheMonotonicClock() ? CLOCK_MONOTONIC : CLOCK_REALTIME;
    gLibraryClock.store(clock, std::memory_order_relaxed);
    return clock;
}

AudioTime::AudioTime() : mTime() {
    now(&mTime);
}

void AudioTime::now(struct timespec* ts) {
    if (clock_gettime(cabinaudio::chosenClock(), ts) == 0) return;
    const int error = errno;
    AUDIO_LOGE("Fail to get clock time, error:%s(%d).\n", std::strerror(error), error);
}

std::uint64_t AudioTime::now() {
    struct timespec ts = {};
    now(&ts);
    return static_cast<std::uint64_t>(ts.tv_sec) * MICROSECONDS_PER_SECOND +
           static_cast<std::uint64_t>(ts.tv_nsec / 1000);
}

/// Seconds and nanoseconds are added separately, so that no span overflows. A time that time_t (32
/// bits on some builds) cannot hold becomes its last or first second.
void AudioTime::travel(std::int64_t us) {
    std::int64_t seconds = us / MICROSECONDS_PER_SECOND;
    std::int64_t nanoseconds = us % MICROSECONDS_PER_SECOND * 1000 + mTime.tv_nsec;
    seconds += nanoseconds / NANOSECONDS_PER_SECOND;
    nanoseconds %= NANOSECONDS_PER_SECOND;
    if (nanoseconds < 0) {
        seconds -= 1;
        nanoseconds += NANOSECONDS_PER_SECOND;
    }
    if (__builtin_add_overflow(mTime.tv_sec, seconds, &mTime.tv_sec))
        mTime.tv_sec = us > 0 ? LAST_SECOND : FIRST_SECOND;
    mTime.tv_nsec = static_cast<long>(nanoseconds);
}

struct timespec* AudioTime::getTimespec() {
    return &mTime;
}

std::int32_t AudioTime::sleep(std::uint64_t us) {
    const std::uint64_t seconds = us / MICROSECONDS_PER_SECOND;
    struct timeval span = {};
    span.tv_sec = static_cast<time_t>(std::min<std::uint64_t>(seconds, LAST_SECOND));
    span.tv_usec = static_cast<suseconds_t>(us % MICROSECONDS_PER_SECOND);
    return select(0, nullptr, nullptr, nullptr, &span);
}

bool AudioTime::advancedTimeoutPolicy() {
    return cabinaudio::chosenClock() == CLOCK_MONOTONIC;
}
