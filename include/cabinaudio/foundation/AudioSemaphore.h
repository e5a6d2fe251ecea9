// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <semaphore.h>

#include <cstdint>

/// A counting semaphore that starts at 0. Any thread may post and wait.
class CABINAUDIO_API AudioSemaphore {
public:
    /// @param shared  true when the object lies in memory that several processes map
    explicit AudioSemaphore(bool shared);
    ~AudioSemaphore();
    AudioSemaphore(const AudioSemaphore&) = delete;
    AudioSemaphore& operator=(const AudioSemaphore&) = delete;

    /// Blocks without a time limit until a post can be taken. An interrupting signal ends the wait
    /// with a log line and no post taken; it is not retried.
    void wait();

    /// As wait(), for at most `ms` milliseconds; 0 only looks.
    /// @retval 0   a post was taken
    /// @retval 1   the time is over
    /// @retval -1  the platform refused, a signal included; logged
    [[nodiscard]] std::int32_t waitRelative(std::uint64_t ms);

    /// Posts once. Never blocks.
    void signal();

private:
    sem_t mSem;
};
