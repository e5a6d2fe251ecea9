// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <mutex>

namespace cabinaudio::python {

/// Called in the child of a fork: everything made before belongs to the parent. The child has none
/// of its threads, so an object there can neither be used nor destroyed.
void abandonAfterFork();

/// Counts the calls in progress on an object of the library, which must not be destroyed during
/// one, and refuses calls once it is closed.
class Life {
public:
    Life();
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;

    /// One call. Its constructor throws std::invalid_argument (ValueError) on a closed object, and
    /// std::runtime_error on an object of the parent process.
    class Use {
    public:
        explicit Use(Life& life);
        ~Use();
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

    private:
        Life& mLife;
    };

    [[nodiscard]] bool isAbandoned() const;
    [[nodiscard]] bool isClosed();

    /// Refuses further calls. @return false if it is closed already, or abandoned
    bool close();

    /// Waits until no call is in progress, for a step only. @return whether none is
    bool isUnused();

private:
    unsigned mGeneration;
    std::mutex mLock;
    std::condition_variable mLeft;
    int mUses = 0;
    bool mIsClosed = false;
};

}  // namespace cabinaudio::python
