// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/ThreadSafety.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace cabinaudio::server {

/// std::mutex annotated for clang's thread-safety analysis. Only a Lock takes it.
class CABINAUDIO_CAPABILITY("mutex") Mutex {
private:
    friend class Lock;

    std::mutex mMutex;
};

/// Holds a mutex until the end of its scope; can release it temporarily.
class CABINAUDIO_SCOPED_CAPABILITY Lock {
public:
    explicit Lock(Mutex& mutex) CABINAUDIO_ACQUIRE(mutex) : mLock(mutex.mMutex) {}
    ~Lock() CABINAUDIO_RELEASE() = default;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    void lock() CABINAUDIO_ACQUIRE() { mLock.lock(); }
    void unlock() CABINAUDIO_RELEASE() { mLock.unlock(); }

private:
    friend class Condition;

    std::unique_lock<std::mutex> mLock;
};

/// Condition variable for data that a Mutex guards. Waits take no predicate: clang analyses a
/// lambda as if the lock were not held, so the caller's loop tests the condition.
class Condition {
public:
    void wait(Lock& lock) { mCondition.wait(lock.mLock); }

    /// @return false once the deadline is reached
    bool waitUntil(Lock& lock, std::chrono::steady_clock::time_point deadline) {
        return mCondition.wait_until(lock.mLock, deadline) == std::cv_status::no_timeout;
    }

    void notifyOne() { mCondition.notify_one(); }
    void notifyAll() { mCondition.notify_all(); }

private:
    std::condition_variable mCondition;
};

}  // namespace cabinaudio::server
