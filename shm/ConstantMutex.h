// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/ThreadSafety.h>

#include <mutex>

namespace cabinaudio {

/// A mutex of static storage: initialised by the compiler and never destroyed, so that it also
/// serves rings that a program keeps in static objects. An AudioMutex has a constructor to run.
class CABINAUDIO_CAPABILITY("mutex") ConstantMutex {
public:
    /// Holds the mutex for as long as it lives.
    class CABINAUDIO_SCOPED_CAPABILITY AutoLock {
    public:
        explicit AutoLock(ConstantMutex& mutex) CABINAUDIO_ACQUIRE(mutex) : mMutex(mutex) {
            mMutex.lock();
        }
        ~AutoLock() CABINAUDIO_RELEASE() { mMutex.unlock(); }
        AutoLock(const AutoLock&) = delete;
        AutoLock& operator=(const AutoLock&) = delete;

    private:
        ConstantMutex& mMutex;
    };

    constexpr ConstantMutex() = default;
    ConstantMutex(const ConstantMutex&) = delete;
    ConstantMutex& operator=(const ConstantMutex&) = delete;

    void lock() CABINAUDIO_ACQUIRE() CABINAUDIO_UNCHECKED_LOCKING { mMutex.lock(); }
    void unlock() CABINAUDIO_RELEASE() CABINAUDIO_UNCHECKED_LOCKING { mMutex.unlock(); }

private:
    std::mutex mMutex;
};

}  // namespace cabinaudio
