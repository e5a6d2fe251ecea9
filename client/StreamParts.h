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

/// The life of a stream, whichever way its data goes. The words for the log stay with the streams.
namespace cabinaudio {

/// Sends a request that is a function id and nothing else. @return its status
using SendFunction = std::int32_t(RemoteCall& rc, std::uint32_t function, bool flag);

/// For streams all of whose such requests are made under the stream's lock.
SendFunction sendUnderLock;
/// For streams that also make requests without it. The RemoteCall is a StreamLink.
SendFunction sendInTurn;

/// The fields that the operations of every stream work on. Each class has them in an order that
/// programs know, so they cannot be a member or a base class. Made with the stream's lock held, and
/// used no longer than it is.
struct StreamParts {
    const char* name;
    RemoteCall* const& rc;  // without the lock: a notification may come before it is set
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
    /// is the stream's, which is held.
    [[nodiscard]] bool wait(std::uint64_t ms) const CABINAUDIO_UNCHECKED_LOCKING {
        return changed.waitRelative(lock, ms) == 0;
    }
    void wakeBlocked() const {
        if (isBlocked) changed.signal();
    }
};

/// Marks a read or write as blocked for as long as it lives.
class BlockedWait {
public:
    explicit BlockedWait(const StreamParts& stream)
        : mIsBlocked(stream.isBlocked), mState(stream.state), mChanged(stream.changed) {
        mIsBlocked = true;
    }
    /// A destructor may be waiting for the blocked call to leave.
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

/// How a stream took the wish to go from one state to another.
struct StateChange {
    enum class Outcome : std::uint8_t {
        Done,
        NotNeeded,  // it is there already; nothing was sent
        Refused,    // it is in a third state; nothing was sent
        Failed,     // the request
    };
    Outcome outcome;
    std::int32_t status;  // for the application
};

/// Takes a stream from one state to another by a request.
[[nodiscard]] StateChange changeState(const StreamParts& stream, AudioStreamState from,
                                      AudioStreamState to, std::uint32_t function, bool flag);

/// The server has removed the stream. Also during destruction: the state is STOPPING then.
void setRemoved(const StreamParts& stream);

/// The ring was updated: wakes a blocked read or write. Runs on the ring's receiver thread.
/// @return milliseconds since the update; 0 when nothing is blocked
std::uint64_t wakeAfterUpdate(const StreamParts& stream);

/// As above, with a warning when it took long.
void logUpdate(const StreamParts& stream, LogSite site);

/// Wakes a blocked read or write and waits until it has left.
/// @return milliseconds that it took, `limitMs` or a little more when the call has not left
std::uint64_t awaitExit(const StreamParts& stream, std::uint64_t limitMs);

/// The first step of a capture stream's destruction: ends a blocked read.
/// @return whether no read is blocked any more
bool endReader(const StreamParts& stream, LogSite site);

/// Empties the ring of a stopped capture stream, if there is one.
/// @retval AUDIO_INVALID_STATE  not stopped
std::int32_t clearCapture(const StreamParts& stream, LogSite site);

/// A wake-up that took this long gets a line in the log.
constexpr std::uint64_t LAG_WARNING_MS = 2;

}  // namespace cabinaudio
