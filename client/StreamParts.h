// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioTypes.h>
#include <cabinaudio/foundation/ThreadSafety.h>
#include <cabinaudio/link/RemoteCall.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "foundation/Log.h"

#include <atomic>
#include <cstdint>

/// States and waits common to playback and capture streams. The log texts stay with the streams.
namespace cabinaudio {

/// Sends a request that consists only of a function id. @return its status
using SendFunction = std::int32_t(RemoteCall& rc, std::uint32_t function, bool flag);

/// For streams that make all such requests under the stream's lock.
SendFunction sendUnderLock;
/// For streams that also make requests without that lock. The RemoteCall is a StreamLink.
SendFunction sendInTurn;

/// The fields used by the operations of every stream. Each class has them in an order that is part
/// of its fixed layout, so they cannot be a member or a base class. Created with the stream's lock
/// held, and valid only while it is held.
struct StreamParts {
    const char* name;
    RemoteCall* const& rc;  // by reference: set without the lock, perhaps after a notification
    SendFunction* send;
    std::atomic<AudioStreamState>& state;
    AudioMutex& lock;
    AudioCondition& changed;
    bool& isBlocked;
    std::atomic<ShareMemoryEx*>& ring;

    // No other data depends on the state, and it changes under the lock only.
    [[nodiscard]] bool isIn(AudioStreamState expected) const {
        return state.load(std::memory_order_relaxed) == expected;
    }
    [[nodiscard]] std::int32_t request(std::uint32_t function, bool flag) const {
        return send(*rc, function, flag);
    }
    /// @return whether a wake-up ended the wait. Not checked, because clang cannot tell that `lock`
    ///         is the stream's lock, which is held.
    [[nodiscard]] bool wait(std::uint64_t ms) const CABINAUDIO_UNCHECKED_LOCKING {
        return changed.waitRelative(lock, ms) == 0;
    }
    void wakeBlocked() const {
        if (isBlocked) changed.signal();
    }
};

/// Marks a read or write as blocked for its lifetime.
class BlockedWait {
public:
    explicit BlockedWait(const StreamParts& stream)
        : mIsBlocked(stream.isBlocked), mState(stream.state), mChanged(stream.changed) {
        mIsBlocked = true;
    }
    /// The stream's destructor may be waiting for the blocked call to leave.
    ~BlockedWait() {
        mIsBlocked = false;
        if (mState != ACTIVE) mChanged.signal();
    }
    BlockedWait(const BlockedWait&) = delete;
    BlockedWait& operator=(const BlockedWait&) = delete;

private:
    bool& mIsBlocked;
    const std::atomic<AudioStreamState>& mState;
    AudioCondition& mChanged;
};

/// Outcome of a requested change of state.
struct StateChange {
    enum class Outcome : std::uint8_t {
        Done,
        NotNeeded,  // already in that state; nothing was sent
        Refused,    // in a third state; nothing was sent
        Failed,     // the request failed
    };
    Outcome outcome;
    std::int32_t status;  // for the application
};

/// Changes the state of a stream by a request.
[[nodiscard]] StateChange changeState(const StreamParts& stream, AudioStreamState from,
                                      AudioStreamState to, std::uint32_t function, bool flag);

/// The server has removed the stream. Even during destruction this sets the state to STOPPING.
void setRemoved(const StreamParts& stream);

/// The ring was updated: wakes a blocked read or write. Runs on the ring's receiver thread.
/// @return milliseconds since the update; 0 when nothing is blocked
std::uint64_t wakeAfterUpdate(const StreamParts& stream);

/// As above; logs a warning when the wake-up took long.
void logUpdate(const StreamParts& stream, LogSite site);

/// Wakes a blocked read or write and waits until it has left.
/// @return milliseconds waited; `limitMs` or slightly more when the call has not left
std::uint64_t waitForExit(const StreamParts& stream, std::uint64_t limitMs);

/// The first step of a capture stream's destruction: ends a blocked read.
/// @return whether no read is blocked any more
bool endReader(const StreamParts& stream, LogSite site);

/// Empties the ring of a stopped capture stream, if there is one.
/// @retval AUDIO_INVALID_STATE  not stopped
std::int32_t clearCapture(const StreamParts& stream, LogSite site);

/// A wake-up that took at least this long is logged.
constexpr std::uint64_t LAG_WARNING_MS = 2;

}  // namespace cabinaudio
