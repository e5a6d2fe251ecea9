// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>
#include <cabinaudio/foundation/AudioMutex.h>

#include <pthread.h>

#include <atomic>
#include <cstdint>

namespace cabinaudio {
struct LibraryThread;
}

/// A named real-time thread; subclasses supply the body, run().
///
/// start(), prepareStop(), join() and stop() may be called from any thread. The new thread blocks
/// all signals, so that the application's handlers do not run on it. The exceptions are SIGSEGV,
/// SIGBUS, SIGILL, SIGFPE, SIGABRT and SIGTRAP: their handlers run for a fault in the body. A
/// subclass whose body can block must wake it and join in its own destructor, before the members
/// that the body uses are destroyed.
class CABINAUDIO_API AudioThread {
public:
    /// Scheduling policy: round-robin, first-in-first-out, or the system's default. The real-time
    /// policies need permission.
    enum Policy : std::int32_t { POLICY_RR = 0, POLICY_FIFO = 1, POLICY_OTHER = 2 };

    /// @param name      truncated so that "AS-" + name fits in 15 characters; null means "Default"
    /// @param priority  within the policy; -1 means the policy's maximum
    /// @param policy    scheduling policy
    AudioThread(const char* name, std::int32_t priority, Policy policy);
    AudioThread(const AudioThread&) = delete;
    AudioThread& operator=(const AudioThread&) = delete;

    /// Stops and joins; blocks until the body has returned.
    virtual ~AudioThread();

    /// The body. It should poll running() and return soon once that is false.
    virtual void run() = 0;

    /// Starts the thread. A call while the thread runs is logged and has no effect. Without
    /// permission for the policy, the failure is logged and no thread is created, unless LinkPolicy
    /// allows ordinary threads; a later start() may try again.
    void start() CABINAUDIO_EXCLUDES(mLock);

    /// Asks the body to return; does not wait.
    void prepareStop() CABINAUDIO_EXCLUDES(mLock);

    /// Waits, without a time limit, until the body has returned. Returns at once when there is no
    /// thread to join. When called from the body itself, logs an error and returns.
    void join() CABINAUDIO_EXCLUDES(mLock);

    /// prepareStop() and join().
    void stop() CABINAUDIO_EXCLUDES(mLock);

protected:
    /// @return false once a stop was requested, or when the thread could not be started
    [[nodiscard]] bool running() const { return mRunning.load(std::memory_order_acquire); }

private:
    friend struct cabinaudio::LibraryThread;

    static void* _run(void* self);
    static int _getPolicyId(Policy policy);

    // Has its own synchronization: written with mLock held, polled by the body without.
    std::atomic<bool> mRunning;
    // Set at construction.
    char mName[16];
    Policy mPolicy;
    std::int32_t mPriority;
    // Guarded by mLock.
    pthread_t mThread CABINAUDIO_GUARDED_BY(mLock);
    // Has its own synchronization.
    AudioMutex mLock;
    // Guarded by mLock.
    bool mJoined CABINAUDIO_GUARDED_BY(mLock);

    static_assert(sizeof(std::atomic<bool>) == 1, "the running flag is one byte");
};
