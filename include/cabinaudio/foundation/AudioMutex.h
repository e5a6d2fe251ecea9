// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <pthread.h>

#include <cstdint>

/// A plain lock: not recursive, no owner check. Failures of the platform are logged and ignored.
/// Any thread.
class CABINAUDIO_API AudioMutex {
public:
    /// Holds the mutex for as long as it lives.
    class CABINAUDIO_API AutoLock {
    public:
        /// Locks; blocks as lock() does.
        explicit AutoLock(AudioMutex& mutex);
        /// Unlocks.
        ~AutoLock();
        AutoLock(const AutoLock&) = delete;
        AutoLock& operator=(const AutoLock&) = delete;

    private:
        AudioMutex& mMutex;
    };

    /// @param shared  true when the object lies in memory that several processes map
    explicit AudioMutex(bool shared);
    ~AudioMutex();
    AudioMutex(const AudioMutex&) = delete;
    AudioMutex& operator=(const AudioMutex&) = delete;

    /// Blocks without a time limit. Locking twice from one thread blocks for ever.
    void lock();
    /// Releases the lock; to be called by the thread that has it. Never blocks.
    void unlock();

    /// @return 0 when the lock was taken, else the negated error number (-EBUSY). Never blocks.
    [[nodiscard]] std::int32_t tryLock();

private:
    friend class AudioCondition;
    pthread_mutex_t mMutex;
};
