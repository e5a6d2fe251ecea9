// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/foundation/AudioTypes.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "client/StreamLink.h"
#include "foundation/Log.h"
#include "link/ReplyDeadline.h"
#include "link/Request.h"
#include "wire/Stream.h"

#include <atomic>
#include <cstdint>
#include <cstring>

/// Operations common to playback and capture streams. The log texts stay with the streams.
namespace cabinaudio {

/// Clock of the streams, in milliseconds.
std::uint64_t nowMs();

/// Converts to the type of the log's %llu, whatever type std::uint64_t is on this build.
inline unsigned long long llu(std::uint64_t value) {
    return value;
}

/// Outcome of a stream's request.
template <typename Reply>
struct Received {
    std::int32_t called;  // 0: the server has answered
    Reply reply;          // zeros where no data arrived

    [[nodiscard]] bool isGranted() const {
        return called == AUDIO_NO_ERROR && reply.status == AUDIO_NO_ERROR;
    }
};

/// Sends a request of a stream.
/// @param conclude  gets the Received<Reply>; runs before the request's blocks are freed, and only
///                  when they could be allocated
template <typename Reply, typename Request, typename Conclude>
Answer requestRecord(RemoteCall& rc, const Request& request, bool flag, Conclude conclude) {
    return requestBlocks<FillRef, ConcludeRef>(
        rc, sizeof(Request), sizeof(Reply), flag,
        [&](std::uint8_t* param) { std::memcpy(param, &request, sizeof request); },
        [&](std::int32_t called, const std::uint8_t* ret) {
            Received<Reply> received{called, {}};
            std::memcpy(&received.reply, ret, sizeof received.reply);
            conclude(received);
        });
}

/// The payload of a create request. `function` is the id on the stream's connection.
wire::CreateRequest createRequest(std::uint32_t function, AudioTagType tag,
                                  const AudioFormatDesc& format, int streamParam);

/// Maps the ring that the server has announced, unless it is mapped already. The ring in `slot` is
/// replaced only by a ring that could be mapped. Called with the stream's lock held.
/// @return the ring no longer in use, or null; must be deleted without the lock
[[nodiscard]] ShareMemoryEx* adoptRing(std::atomic<ShareMemoryEx*>& slot,
                                       const wire::ShareMemoryReply& place, const char* name,
                                       unsigned mode,
                                       ShareMemoryUpdateNotificationCallback* callback);

/// Deletes a ring that no other thread can reach any more, once the threads that read it without
/// the stream's lock have left. Must be called without that lock, because it joins the ring's
/// receiver thread.
void deleteRing(StreamLink& link, ShareMemoryEx* ring);

/// A ring that has been replaced. Declared before the stream's lock, so that the ring is deleted
/// after the lock is released.
class ReplacedRing {
public:
    explicit ReplacedRing(StreamLink& link) : mLink(link) {}
    ~ReplacedRing() { deleteRing(mLink, ring); }
    ReplacedRing(const ReplacedRing&) = delete;
    ReplacedRing& operator=(const ReplacedRing&) = delete;

    ShareMemoryEx* ring = nullptr;

private:
    StreamLink& mLink;
};

/// Limits how long one call waits for the other side of its ring. Each wake-up restarts the wait,
/// without a limit on their number; if a policy limits waits for the server, all waits of the call
/// together end by its deadline.
class RingPatience {
public:
    /// @param waitMs  of a single wait; all waits together last at least as long
    explicit RingPatience(std::uint64_t waitMs) : mEndMs(nowMs() + waitMs) {}

    [[nodiscard]] bool isOver() const { return mDeadline.isOver() && nowMs() >= mEndMs; }

private:
    ReplyDeadline mDeadline;
    std::uint64_t mEndMs;
};

/// Log text for the reason why a wait ended in a stream that is no longer ACTIVE.
inline const char* endOfWait(AudioStreamState state) {
    return state == STOPPING ? "STOPPING,server may have crash" : "IDLE, may have stop";
}

}  // namespace cabinaudio
