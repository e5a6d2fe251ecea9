// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>
#include <cabinaudio/foundation/ThreadSafety.h>

#include <pthread.h>

#include <cstdint>

class AudioMutex;

/// A condition variable on CLOCK_MONOTONIC. Wake-ups may be spurious: re-test the predicate.
/// Any thread may wait, with the mutex held, and any thread may wake; waking never blocks.
class CABINAUDIO_API AudioCondition {
public:
    /// @param shared  true if the object is in memory shared between processes
    explicit AudioCondition(bool shared);
    ~AudioCondition();
    AudioCondition(const AudioCondition&) = delete;
    AudioCondition& operator=(const AudioCondition&) = delete;

    /// Releases `mutex`, blocks without a time limit, and takes `mutex` again.
    void wait(AudioMutex& mutex) CABINAUDIO_REQUIRES(mutex);

    /// As wait(), for at most `ms` milliseconds.
    /// @retval 0     woken
    /// @retval -110  (-ETIMEDOUT) timed out
    /// Any other platform error number is returned negated, too.
    [[nodiscard]] std::int32_t waitRelative(AudioMutex& mutex, std::uint64_t ms)
        CABINAUDIO_REQUIRES(mutex);

    /// Wakes one waiter, if there is any.
    void signal();
    /// Wakes every waiter.
    void broadcast();

private:
    pthread_cond_t mCond;
};
