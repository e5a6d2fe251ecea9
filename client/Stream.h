// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/foundation/AudioTypes.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "client/RequestFrame.h"
#include "foundation/Log.h"
#include "link/ReplyDeadline.h"
#include "wire/Stream.h"

#include <atomic>
#include <cstdint>

class RemoteCall;

/// What every stream does, whichever way its data goes. The streams' own texts stay with them.
namespace cabinaudio {

/// Clock of the streams, in milliseconds.
std::uint64_t nowMs();

/// For the log's %llu, whatever 64 bits are called on this build.
inline unsigned long long llu(std::uint64_t value) {
    return value;
}

/// A stream's request that has been made.
template <typename Reply>
struct Asked {
    Steps steps;
    Reply reply;

    /// Whether there was a block for it; otherwise nothing was sent.
    [[nodiscard]] bool isSent() const { return steps.allocated == AUDIO_NO_ERROR; }
    [[nodiscard]] bool isGranted() const {
        return steps.called == AUDIO_NO_ERROR && reply.status == AUDIO_NO_ERROR;
    }
};

/// Asks for a stream. `function` is the create request of the stream's connection.
Asked<wire::CreateReply> createStream(RemoteCall& rc, std::uint32_t function, AudioTagType tag,
                                      const AudioFormatDesc& format, int streamParam);

/// Asks where the announced ring lies.
Asked<wire::ShareMemoryReply> findRing(RemoteCall& rc, std::uint32_t function, bool flag);

/// Maps a ring whose place the server has told.
ShareMemoryEx* mapRing(const wire::ShareMemoryReply& place, const char* name, unsigned mode,
                       ShareMemoryUpdateNotificationCallback* callback);

/// How long one call waits for the other side of its ring. Each wake-up begins the wait anew, as
/// often as the server likes; where a policy limits the waits for a server, they end together.
class RingPatience {
public:
    /// @param waitMs  of a single wait; together they last as long at least
    explicit RingPatience(std::uint64_t waitMs) : mEndMs(nowMs() + waitMs) {}

    [[nodiscard]] bool isOver() const { return mDeadline.isOver() && nowMs() >= mEndMs; }

private:
    ReplyDeadline mDeadline;
    std::uint64_t mEndMs;
};

/// The part of a stream that its ring's receiver thread works on.
struct RingWaiter {
    AudioMutex& lock;
    AudioCondition& changed;
    const bool& isBlocked;                    // guarded by `lock`
    const std::atomic<ShareMemoryEx*>& ring;  // changes under `lock`
};

/// Wakes a blocked read or write after an update of the ring.
/// @return milliseconds since the update, 0 when nobody was blocked
std::uint64_t wakeAfterUpdate(const RingWaiter& waiter);

/// A wake-up that took this long is worth a line in the log.
constexpr std::uint64_t LAG_WARNING_MS = 2;

/// Empties the ring of a stopped capture stream; `ring` may be null. Called with the stream's lock
/// held. `site` is the operation, whose name stands in the log.
/// @retval AUDIO_INVALID_STATE  not stopped
std::int32_t clearCapture(AudioStreamState state, ShareMemoryEx* ring, const char* name,
                          const LogSite& site);

/// Why a wait ended that the stream did not survive, as the log says it.
inline const char* endOfWait(AudioStreamState state) {
    return state == STOPPING ? "STOPPING,server may have crash" : "IDLE, may have stop";
}

}  // namespace cabinaudio
