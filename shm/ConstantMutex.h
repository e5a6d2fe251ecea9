// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/ThreadSafety.h>

#include <mutex>

namespace cabinaudio {

/// A mutex for static storage: constant-initialised and never destroyed, so that rings in static
/// objects of a program can use it. An AudioMutex would need its constructor to run first.
class CABINAUDIO_CAPABILITY("mutex") ConstantMutex {
public:
    /// Holds the mutex for its lifetime.
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
