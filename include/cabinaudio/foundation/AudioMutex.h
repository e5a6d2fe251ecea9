// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>
#include <cabinaudio/foundation/ThreadSafety.h>

#include <pthread.h>

#include <cstdint>

/// A plain lock: not recursive, no owner check. Failures of the platform are logged and ignored.
/// Any thread.
class CABINAUDIO_API CABINAUDIO_CAPABILITY("mutex") AudioMutex {
public:
    /// Holds the mutex for its lifetime.
    class CABINAUDIO_API CABINAUDIO_SCOPED_CAPABILITY AutoLock {
    public:
        /// Locks; blocks as lock() does.
        explicit AutoLock(AudioMutex& mutex) CABINAUDIO_ACQUIRE(mutex);
        /// Unlocks.
        ~AutoLock() CABINAUDIO_RELEASE();
        AutoLock(const AutoLock&) = delete;
        AutoLock& operator=(const AutoLock&) = delete;

    private:
        AudioMutex& mMutex;
    };

    /// @param shared  true if the object is in memory shared between processes
    explicit AudioMutex(bool shared);
    ~AudioMutex();
    AudioMutex(const AudioMutex&) = delete;
    AudioMutex& operator=(const AudioMutex&) = delete;

    /// Blocks without a time limit. Locking twice from one thread deadlocks.
    void lock() CABINAUDIO_ACQUIRE();
    /// Releases the lock. Must be called by the thread that holds it. Never blocks.
    void unlock() CABINAUDIO_RELEASE();

    /// @return 0 when the lock was taken, else the negated error number (-EBUSY). Never blocks.
    [[nodiscard]] std::int32_t tryLock() CABINAUDIO_TRY_ACQUIRE(0);

private:
    friend class AudioCondition;
    pthread_mutex_t mMutex;
};
