// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <semaphore.h>

#include <cstdint>

/// A counting semaphore that starts at 0. Any thread may post and wait.
class CABINAUDIO_API AudioSemaphore {
public:
    /// @param shared  true if the object is in memory shared between processes
    explicit AudioSemaphore(bool shared);
    ~AudioSemaphore();
    AudioSemaphore(const AudioSemaphore&) = delete;
    AudioSemaphore& operator=(const AudioSemaphore&) = delete;

    /// Blocks without a time limit until a post can be taken. A signal ends the wait with a log
    /// line and no post taken; the wait is not retried.
    void wait();

    /// As wait(), for at most `ms` milliseconds; 0 does not block.
    /// @retval 0   a post was taken
    /// @retval 1   timed out
    /// @retval -1  the wait failed, or a signal interrupted it; logged
    [[nodiscard]] std::int32_t waitRelative(std::uint64_t ms);

    /// Posts once. Never blocks.
    void signal();

private:
    sem_t mSem;
};
