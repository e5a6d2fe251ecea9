// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "client/Stream.h"
#include "client/StreamDump.h"
#include "client/StreamParts.h"
#include "foundation/Log.h"
#include "wire/Stream.h"

#include <algorithm>
#include <atomic>
#include <cstdint>

namespace cabinaudio {

/// The fields used by the common operations of tracks and sinks.
struct PlaybackParts : StreamParts {
    bool& isWriteDone;
    std::atomic<std::uint64_t>& writeDoneTime;  // ms
};

/// Common operations of tracks and sinks, all with the stream's lock held. `site` is the operation
/// that the log lines name. Cold operations are those that a write with enough space never calls:
/// the compiler makes them small and places them apart.
struct Playback {
    static constexpr std::uint64_t SPACE_WAIT_MS = 600;
    static constexpr std::uint64_t WRITER_EXIT_WAIT_MS = 2000;

    /// The create request of a playback stream.
    /// @param accepted  gets the reply when the server grants the stream; runs before the request's
    ///                  blocks are freed
    /// @return whether the stream was granted; otherwise the reason is logged
    template <typename Accepted>
    static bool create(const PlaybackParts& stream, const wire::CreateRequest& request,
                       LogSite site, Accepted accepted) {
        bool isGranted = false;
        const Answer answer = requestRecord<wire::CreateReply>(
            *stream.rc, request, true, [&](const Received<wire::CreateReply>& received) {
                isGranted = received.isGranted();
                if (isGranted)
                    accepted(received.reply);
                else
                    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                                 "[%s] mRc->call failure, status:%d  ret_status:%d\n", stream.name,
                                 received.called, received.reply.status);
            });
        if (answer.allocated != AUDIO_NO_ERROR)
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]mRc->rcalloc return failed, ret:%d\n",
                         stream.name, answer.allocated);
        else if (!answer.isFreed && isGranted)
            AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site,
                         "AUDIO IGNORE(AUDIO_NO_ERROR==mRc->rcfree(param, ret))!\n");
        else
            logFree(answer, site);
        return isGranted;
    }

    /// Asks the server for the location of the announced ring and maps it.
    /// @param updated    called after each read by the server
    /// @param replaced   gets the ring no longer in use
    /// @param logMapped  logs the stream's own line about the ring
    /// @return result of the allocation of the request's blocks
    template <typename LogMapped>
    static std::int32_t mapRing(const PlaybackParts& stream,
                                ShareMemoryUpdateNotificationCallback& updated,
                                ShareMemoryEx*& replaced, LogSite site, LogMapped logMapped) {
        const wire::FunctionRequest request{id(wire::StreamFunction::GetShareMemory)};
        const Answer answer = requestRecord<wire::ShareMemoryReply>(
            *stream.rc, request, true, [&](const Received<wire::ShareMemoryReply>& received) {
                if (!received.isGranted()) {
                    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                                 "[%s] mRc->call return error(%d), ret->status:%d.\n", stream.name,
                                 received.called, received.reply.status);
                    return;
                }
                replaced =
                    adoptRing(stream.ring, received.reply, stream.name, SHM_MODE_WRITER, &updated);
                logMapped(stream.ring.load()->getTotalSize());
            });
        logFree(answer, site);
        return answer.allocated;
    }

    static int start(const PlaybackParts& stream, LogSite site);
    /// The caller logs a success.
    static StateChange stop(const PlaybackParts& stream, LogSite site);
    /// @param times  how often the ring is emptied
    static int clear(const PlaybackParts& stream, unsigned times, LogSite site);

    /// Whether the end of the data may be announced; if not, the reason is logged.
    static bool mayEnd(const PlaybackParts& stream, LogSite site);
    /// Announces the end of the data.
    static int writeDone(const PlaybackParts& stream, LogSite site);

    /// The status of a refused write. Logs the reason: another writer, writeDone(), or the state.
    [[gnu::cold]] static int refusal(const PlaybackParts& stream, LogSite site);

    /// Bytes that the next step of a blocking write takes, with `free` bytes free in the ring: more
    /// than `free` only when `free` is 0.
    static int step(int perLoopSize, int free, int remaining) {
        // At least 1: with a step size of 0 the caller would spin on a full ring.
        return std::min(free > 0 ? free : std::max(perLoopSize, 1), remaining);
    }

    /// Waits until `need` bytes are free.
    /// @param isGivenUp  tested after each wake-up while the stream is still ACTIVE; may be null
    /// @return `need`, 0 when given up, or a status
    [[gnu::cold]] static int waitForSpace(const PlaybackParts& stream, int need,
                                          const std::atomic<bool>* isGivenUp, LogSite site);

    /// Bytes that a write can take without waiting, at most `bytes`.
    static int writableNow(ShareMemoryEx* ring, int bytes, const char* name, LogSite site) {
        const int count = std::min(freeSize(ring), bytes);
        if (count < bytes)
            AUDIO_LOG_AT(ANDROID_LOG_WARN, site,
                         "[%s] no enough space to write len[%d], actually write[%d] [unblock]\n",
                         name, bytes, count);
        return std::max(count, 0);
    }

    /// @param ring  must have the space
    static void writeOnce(ShareMemoryEx& ring, const std::atomic<AudioDump*>& dump,
                          const unsigned char* buffer, int len, LogSite site) {
        if (ring.write(buffer, static_cast<unsigned>(len)) == 0)
            AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site,
                         "AUDIO IGNORE(mShareMemory->write(buffer, len))!\n");
        StreamDump::write(dump, buffer, static_cast<unsigned>(len));
    }

    /// Called with the lock held or from inside the gate of ring visitors. `ring` may be null.
    static int freeSize(ShareMemoryEx* ring) {
        return ring != nullptr ? static_cast<int>(ring->getFreeSize()) : 0;
    }

    /// The first step of destruction: ends a blocked write. @return the ring, which the caller must
    /// delete
    static ShareMemoryEx* endWriter(const PlaybackParts& stream, LogSite site);

    /// Logs a call to an operation without effect. Kept as is: the line names the track even for a
    /// sink.
    /// @param instead  the operation to call instead, or null for none
    static int deprecated(LogSite site, const char* instead);

    /// Logs that a wait for the ring or the source ended because the stream is no longer ACTIVE.
    [[gnu::cold]] static void logInvalidState(const PlaybackParts& stream, LogSite site);

private:
    static void logFree(const Answer& answer, LogSite site) {
        if (!answer.isFreed)
            AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site,
                         "AUDIO IGNORE(AUDIO_NO_ERROR == mRc->rcfree(param, ret))!\n");
    }
};

}  // namespace cabinaudio
