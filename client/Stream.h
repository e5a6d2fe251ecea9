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

/// What every stream does, whichever way its data goes. The streams' own texts stay with them.
namespace cabinaudio {

/// Clock of the streams, in milliseconds.
std::uint64_t nowMs();

/// For the log's %llu, whatever 64 bits are called on this build.
inline unsigned long long llu(std::uint64_t value) {
    return value;
}

/// Outcome of a stream's request.
template <typename Reply>
struct Asked {
    std::int32_t called;  // 0: the server has answered
    Reply reply;          // zeros where nothing arrived

    [[nodiscard]] bool isGranted() const {
        return called == AUDIO_NO_ERROR && reply.status == AUDIO_NO_ERROR;
    }
};

/// A stream's request.
/// @param conclude  gets the Asked<Reply>; runs before the request's blocks are freed, and only
///                  when they could be allocated
template <typename Reply, typename Request, typename Conclude>
Answer askFor(RemoteCall& rc, const Request& request, bool flag, Conclude conclude) {
    return requestBlocks<FillRef, ConcludeRef>(
        rc, sizeof(Request), sizeof(Reply), flag,
        [&](std::uint8_t* param) { std::memcpy(param, &request, sizeof request); },
        [&](std::int32_t called, const std::uint8_t* ret) {
            Asked<Reply> asked{called, {}};
            std::memcpy(&asked.reply, ret, sizeof asked.reply);
            conclude(asked);
        });
}

/// The payload of a create request. `function` is that of the stream's connection.
wire::CreateRequest createRequest(std::uint32_t function, AudioTagType tag,
                                  const AudioFormatDesc& format, int streamParam);

/// Maps the ring that the server has announced, unless it is mapped already. The ring in `slot` is
/// replaced only by one that could be mapped. Called with the stream's lock held.
/// @return the ring that is in use no more, or null; to be deleted without the lock
[[nodiscard]] ShareMemoryEx* adoptRing(std::atomic<ShareMemoryEx*>& slot,
                                       const wire::ShareMemoryReply& place, const char* name,
                                       unsigned mode,
                                       ShareMemoryUpdateNotificationCallback* callback);

/// Deletes a ring that no other thread can reach any more, once the threads that looked at it
/// without the stream's lock have left. Without that lock: joins the ring's receiver thread.
void deleteRing(StreamLink& link, ShareMemoryEx* ring);

/// A ring that has been replaced. Declared in front of the stream's lock, so that it is deleted
/// after the lock has been released.
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

/// Why a wait ended that the stream did not survive, as the log says it.
inline const char* endOfWait(AudioStreamState state) {
    return state == STOPPING ? "STOPPING,server may have crash" : "IDLE, may have stop";
}

}  // namespace cabinaudio
