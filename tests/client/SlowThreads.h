// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <semaphore>
#include <vector>

namespace cabinaudio::test {

/// From the next timed wait on a condition on, this thread stands still for good, whatever signals
/// come, as if the scheduler had forgotten it. It has released the wait's mutex by then.
void holdUpInNextWait();

/// How many threads stand still.
[[nodiscard]] int heldUp();

/// The next signal that this thread gets in a timed wait on a condition comes at the moment in
/// which the time is over.
void missNextSignal();

/// This thread's next timed wait on a condition goes on, without the wait's mutex, until `go` is
/// released, whatever ended it.
void sleepUntilReleased(std::binary_semaphore& go);

/// As long as it lives, its thread notices a mutex that was let go of only 20 ms later at times, as
/// any thread does that has to be woken up first.
class SlowToLock {
public:
    SlowToLock();
    ~SlowToLock();
    SlowToLock(const SlowToLock&) = delete;
    SlowToLock& operator=(const SlowToLock&) = delete;
};

/// As long as it lives, notes the mutexes that its thread locks and unlocks.
class LocksOfThisThread {
public:
    LocksOfThisThread();
    ~LocksOfThisThread();
    LocksOfThisThread(const LocksOfThisThread&) = delete;
    LocksOfThisThread& operator=(const LocksOfThisThread&) = delete;

    std::vector<const void*> locked;    // in order
    std::vector<const void*> unlocked;  // in order
};

/// How many timed waits on a condition this thread has seen end with their time instead of a
/// signal.
[[nodiscard]] int lapsedWaits();

}  // namespace cabinaudio::test
