// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>

#include <cstdint>

namespace cabinaudio {

/// Counts the threads that use an object which another thread may delete. The owner first makes the
/// object unreachable (by an atomic exchange of the pointer to it), then drains the gate, then
/// deletes the object. Users enter the gate before they load the pointer.
class UseGate {
public:
    /// Stays in the gate for its lifetime.
    class Visit {
    public:
        explicit Visit(UseGate& gate) : mGate(gate) { mGate.enter(); }
        ~Visit() { mGate.leave(); }
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;

    private:
        UseGate& mGate;
    };

    /// Waits, without a time limit, until no thread is in the gate.
    void drain() CABINAUDIO_EXCLUDES(mLock) {
        const AudioMutex::AutoLock lock(mLock);
        while (mCount != 0)
            mEmpty.wait(mLock);
    }

    /// Whether no thread is in the gate right now.
    [[nodiscard]] bool empty() CABINAUDIO_EXCLUDES(mLock) {
        const AudioMutex::AutoLock lock(mLock);
        return mCount == 0;
    }

private:
    void enter() CABINAUDIO_EXCLUDES(mLock) {
        const AudioMutex::AutoLock lock(mLock);
        ++mCount;
    }
    void leave() CABINAUDIO_EXCLUDES(mLock) {
        const AudioMutex::AutoLock lock(mLock);
        if (--mCount == 0) mEmpty.broadcast();
    }

    // Has its own synchronization.
    AudioMutex mLock{false};
    AudioCondition mEmpty{false};
    // Guarded by mLock.
    std::uint32_t mCount CABINAUDIO_GUARDED_BY(mLock) = 0;
};

}  // namespace cabinaudio
