// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/ThreadSafety.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace cabinaudio::plugin {

/// std::mutex annotated for clang's thread-safety analysis.
class CABINAUDIO_CAPABILITY("mutex") Mutex {
public:
    void lock() CABINAUDIO_ACQUIRE() { mMutex.lock(); }
    void unlock() CABINAUDIO_RELEASE() { mMutex.unlock(); }

private:
    std::mutex mMutex;
};

/// Holds a mutex for its lifetime.
class CABINAUDIO_SCOPED_CAPABILITY Lock {
public:
    explicit Lock(Mutex& mutex) CABINAUDIO_ACQUIRE(mutex) : mMutex(mutex) { mutex.lock(); }
    ~Lock() CABINAUDIO_RELEASE() { mMutex.unlock(); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    Mutex& mMutex;
};

/// Condition variable for data that a Mutex guards, on the steady clock. The library's own
/// condition is not used: with C libraries before 2.30 its timed waits can last very long.
class Condition {
public:
    void wait(Mutex& mutex) CABINAUDIO_REQUIRES(mutex) { mCondition.wait(mutex); }
    void waitFor(Mutex& mutex, std::chrono::microseconds bound) CABINAUDIO_REQUIRES(mutex) {
        mCondition.wait_for(mutex, bound);
    }
    void notifyAll() { mCondition.notify_all(); }

private:
    std::condition_variable_any mCondition;
};

}  // namespace cabinaudio::plugin
