// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioTrack.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "client/Stream.h"
#include "client/StreamDump.h"
#include "foundation/Log.h"
#include "wire/Stream.h"

#include <algorithm>
#include <cstdint>
#include <optional>

class ClientSink;
class ClientTrack;

namespace cabinaudio {

/// What tracks and sinks do alike. They are classes of their own with fields of their own, so this
/// is a friend of both and works on either. `site` is the operation, whose name stands in the log.
struct Playback {
    static constexpr std::uint64_t SPACE_WAIT_MS = 600;
    static constexpr std::uint64_t WRITER_EXIT_WAIT_MS = 2000;

    /// Takes the lock of a stream for one operation. The lock of a sink is taken in turn.
    class Entry {
    public:
        template <typename Stream>
        explicit Entry(Stream& stream) : mTurn(turnOf(stream)), mLock(stream.mLock) {
            if (mTurn != nullptr) mTurn->lock();
            mLock.lock();
        }
        /// The turn first: a destructor that waits for the stream's lock deletes it.
        ~Entry() {
            if (mTurn != nullptr) mTurn->unlock();
            mLock.unlock();
        }
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;

    private:
        AudioMutex* mTurn;
        AudioMutex& mLock;
    };

    /// The create request of a playback stream. Called with mLock held.
    /// @param accepted  gets the reply when the server grants the stream; runs before the request's
    ///                  blocks are freed
    /// @return whether the stream was granted; otherwise the log says why not
    template <typename Stream, typename Accepted>
    static bool create(Stream& stream, int streamParam, const LogSite& site, Accepted accepted) {
        const auto request = createRequest(id(wire::StreamFunction::Create), stream.mTag,
                                           stream.mFormat, streamParam);
        bool isGranted = false;
        const Steps steps = askFor<wire::CreateReply>(
            *stream.mRc, request, true, [&](const Asked<wire::CreateReply>& asked) {
                isGranted = asked.isGranted();
                if (isGranted)
                    accepted(asked.reply);
                else
                    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                                 "[%s] mRc->call failure, status:%d  ret_status:%d\n", stream.mName,
                                 asked.called, asked.reply.status);
            });
        if (steps.allocated != AUDIO_NO_ERROR)
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]mRc->rcalloc return failed, ret:%d\n",
                         stream.mName, steps.allocated);
        else if (!steps.isFreed && isGranted)
            AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site,
                         "AUDIO IGNORE(AUDIO_NO_ERROR==mRc->rcfree(param, ret))!\n");
        else
            logFree(steps, site);
        return isGranted;
    }

    /// Asks where the announced ring lies and maps it. Called with mLock held.
    /// @param replaced   gets the ring that is in use no more
    /// @param logMapped  writes the stream's own line about the ring
    /// @return result of the allocation of the request's blocks
    template <typename Stream, typename LogMapped>
    static std::int32_t mapRing(Stream& stream, ShareMemoryEx*& replaced, const LogSite& site,
                                LogMapped logMapped) {
        const wire::FunctionRequest request{id(wire::StreamFunction::GetShareMemory)};
        const Steps steps = askFor<wire::ShareMemoryReply>(
            *stream.mRc, request, true, [&](const Asked<wire::ShareMemoryReply>& asked) {
                if (!asked.isGranted()) {
                    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                                 "[%s] mRc->call return error(%d), ret->status:%d.\n", stream.mName,
                                 asked.called, asked.reply.status);
                    return;
                }
                replaced = adoptRing(stream.mShareMemory, asked.reply, stream.mName,
                                     SHM_MODE_WRITER, &stream);
                logMapped(stream.mShareMemory.load()->getTotalSize());
            });
        logFree(steps, site);
        return steps.allocated;
    }

    template <typename Stream>
    static int start(Stream& stream, const LogSite& site) {
        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "[%s]start In\n", stream.mName);
        const Entry entry(stream);
        if (stream.mState == ACTIVE) {
            AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "[%s]Current start state [is ACTIVE], Out\n",
                         stream.mName);
            return AUDIO_NO_ERROR;
        }
        if (stream.mState != IDLE) {
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]start failed, state[%d] [not IDLE], Out\n",
                         stream.mName, state(stream));
            return AUDIO_INVALID_STATE;
        }
        const std::int32_t status = stream.request(id(wire::StreamFunction::Start));
        if (status != AUDIO_NO_ERROR) {
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]start RPC failed status[%d], Out\n",
                         stream.mName, status);
            return status;
        }
        stream.mIsWriteDone = false;
        stream.mState = ACTIVE;
        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "[%s]start Success, Out\n", stream.mName);
        return AUDIO_NO_ERROR;
    }

    /// @param logSuccess  writes the stream's own last line
    template <typename Stream, typename LogSuccess>
    static int stop(Stream& stream, const LogSite& site, LogSuccess logSuccess) {
        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "[%s]stop In\n", stream.mName);
        const Entry entry(stream);
        if (stream.mState == IDLE) {
            AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "[%s]Current stop state [is IDLE], Out\n",
                         stream.mName);
            return AUDIO_NO_ERROR;
        }
        if (stream.mState != ACTIVE) {
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]stop failed,state[%d] [not ACTIVE], Out\n",
                         stream.mName, state(stream));
            return AUDIO_INVALID_STATE;
        }
        const std::int32_t status = stream.request(id(wire::StreamFunction::Stop));
        if (status != AUDIO_NO_ERROR) {
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]stop RPC failed status[%d], Out\n",
                         stream.mName, status);
            return status;
        }
        stream.mIsWriteDone = false;
        stream.mState = IDLE;
        if (stream.mIsBlocked) stream.mCond.signal();
        logSuccess();
        return AUDIO_NO_ERROR;
    }

    /// @param empty  empties a ring
    template <typename Stream, typename Empty>
    static int clear(Stream& stream, const LogSite& site, Empty empty) {
        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "[%s]clear In\n", stream.mName);
        const Entry entry(stream);
        if (stream.mState != IDLE) {
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]clear failed, state[%d] not IDLE, Out\n",
                         stream.mName, state(stream));
            return AUDIO_INVALID_STATE;
        }
        if (ShareMemoryEx* const ring = stream.mShareMemory) empty(*ring);
        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "[%s]clear Success, Out\n", stream.mName);
        return AUDIO_NO_ERROR;
    }

    /// Called with mLock held. @param isReady  the stream's own last condition; says why not
    template <typename Stream, typename IsReady>
    static int writeDone(Stream& stream, const LogSite& site, IsReady isReady) {
        if (stream.mIsWriteDone) {
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]Currently in writDone[%d], Out\n",
                         stream.mName, stream.mIsWriteDone);
            return AUDIO_INVALID_STATE;
        }
        if (stream.mState != ACTIVE) {
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]writeDone failed, state[%d] Out\n",
                         stream.mName, state(stream));
            return AUDIO_INVALID_STATE;
        }
        if (!isReady()) return AUDIO_INVALID_STATE;
        stream.mWriteDoneTime = nowMs();
        const std::int32_t status = stream.request(id(wire::StreamFunction::WriteDone));
        if (status != AUDIO_NO_ERROR) {
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]writeDone RPC failed status[%d], Out\n",
                         stream.mName, status);
            return status;
        }
        stream.mIsWriteDone = true;
        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "[%s]writeDone Success, Out.\n", stream.mName);
        return AUDIO_NO_ERROR;
    }

    /// Why no write is taken now, or AUDIO_NO_ERROR. Called with mLock held.
    template <typename Stream>
    static int refusal(const Stream& stream, const LogSite& site) {
        if (stream.mIsBlocked) {
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                         "[%s]Can not write,the last write did not exit [mIsBlocked=%d]\n",
                         stream.mName, stream.mIsBlocked);
            return AUDIO_INVALID_OPERATION;
        }
        if (stream.mIsWriteDone) {
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                         "[%s]Can not write,writeDone has been called [mIsWriteDone=%d]\n",
                         stream.mName, stream.mIsWriteDone);
            return AUDIO_INVALID_OPERATION;
        }
        if (stream.mState != ACTIVE) {
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]Current mState[%d] [not ACTIVE]\n",
                         stream.mName, state(stream));
            return AUDIO_INVALID_STATE;
        }
        return AUDIO_NO_ERROR;
    }

    /// Bytes that the next step of a blocking write takes, with `free` ones in the ring: more than
    /// those only when there are none. Called with mLock held.
    template <typename Stream>
    static int step(const Stream& stream, int free, int remaining) {
        // A server that names no step size must not make this spin on a full ring.
        return std::min(free > 0 ? free : std::max(stream.mPerLoopSize.load(), 1), remaining);
    }

    /// Waits until `need` bytes are free. Called with mLock held.
    /// @param isGivenUp  asked after each wake-up of a stream that is still ACTIVE
    /// @return `need`, 0 when given up, or a status
    template <typename Stream, typename IsGivenUp>
    static int waitForSpace(Stream& stream, int need, const LogSite& site, IsGivenUp isGivenUp) {
        std::optional<RingPatience> patience;
        while (freeSize(stream) < need) {
            if (!patience) patience.emplace(SPACE_WAIT_MS);
            stream.mIsBlocked = true;
            setRingWait(stream, true);
            // The server frees first and looks at the flag then, so look once more after setting
            // it.
            if (freeSize(stream) >= need) {
                setRingWait(stream, false);
                break;
            }
            const std::uint64_t begin = nowMs();
            if (stream.mCond.waitRelative(stream.mLock, SPACE_WAIT_MS) != 0) {
                logNoSpace(stream, nowMs() - begin, site);
                leaveWait(stream);
                return AUDIO_TIMED_OUT;
            }
            if (stream.mState != ACTIVE) {
                leaveWait(stream);
                logInterruptedWait(stream, site);
                return AUDIO_INVALID_STATE;
            }
            if (isGivenUp()) {
                stream.mIsBlocked = false;
                return 0;
            }
            if (patience->isOver() && freeSize(stream) < need) {
                logNoSpace(stream, nowMs() - begin, site);
                stream.mIsBlocked = false;
                return AUDIO_TIMED_OUT;
            }
            setRingWait(stream, false);
        }
        stream.mIsBlocked = false;
        return need;
    }

    /// Bytes that a write takes without waiting, at most `bytes`. Called with mLock held.
    template <typename Stream>
    static int fitting(const Stream& stream, int bytes, const LogSite& site) {
        const int count = std::min(freeSize(stream), bytes);
        if (count < bytes)
            AUDIO_LOG_AT(ANDROID_LOG_WARN, site,
                         "[%s] no enough space to write len[%d], actually write[%d] [unblock]\n",
                         stream.mName, bytes, count);
        return std::max(count, 0);
    }

    /// Called with mLock held and a ring that has the space.
    template <typename Stream>
    static int writeOnce(Stream& stream, unsigned char* buffer, int len, const LogSite& site) {
        ShareMemoryEx* const ring = stream.mShareMemory;
        if (ring->write(buffer, static_cast<unsigned>(len)) == 0)
            AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site,
                         "AUDIO IGNORE(mShareMemory->write(buffer, len))!\n");
        StreamDump::write(stream.mDump, buffer, static_cast<unsigned>(len));
        return len;
    }

    template <typename Stream>
    static int freeSize(const Stream& stream) {
        ShareMemoryEx* const ring = stream.mShareMemory;
        return ring != nullptr ? static_cast<int>(ring->getFreeSize()) : 0;
    }

    template <typename Stream>
    static void notify(Stream& stream, const LogSite& site) {
        const AudioMutex::AutoLock lock(stream.mLock);
        if (!stream.mIsBlocked) return;
        const std::uint64_t lag = wakeAfterUpdate(stream.mCond, stream.mShareMemory);
        if (lag >= LAG_WARNING_MS)
            AUDIO_LOG_AT(ANDROID_LOG_WARN, site,
                         "[%s] update share memory IPC interVal:%llu ms > 1 ms\n", stream.mName,
                         llu(lag));
    }

    /// The server has removed the stream. Also during destruction: the state is STOPPING then.
    template <typename Stream>
    static void onRemoved(Stream& stream, const LogSite& site) {
        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "[%s]server track has be deleted, disconnect.\n",
                     stream.mName);
        const Entry entry(stream);
        stream.mState = STOPPING;
        if (stream.mIsBlocked) stream.mCond.signal();
    }

    /// Ends a wait, with mLock held. A destructor may be waiting for the blocked call to leave.
    template <typename Stream>
    static void leaveWait(Stream& stream) {
        stream.mIsBlocked = false;
        if (stream.mState != ACTIVE) stream.mCond.signal();
    }

    /// The first step of destruction: ends a blocked write. @return the ring, to be deleted
    template <typename Stream>
    static ShareMemoryEx* endWriter(Stream& stream, const LogSite& site) {
        const AudioMutex::AutoLock lock(stream.mLock);
        stream.mState = NO_INIT;
        if (stream.mIsBlocked) waitForWriter(stream, site);
        return stream.mShareMemory.exchange(nullptr);
    }

    /// The line of an operation without effect. It names the track for a sink, too: kept as it is.
    /// @param instead  the operation to call, or null for none
    static int deprecated(const LogSite& site, const char* instead) {
        if (instead == nullptr)
            AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "Deprecated API(ClientTrack::%s) is called.\n",
                         site.function);
        else
            AUDIO_LOG_AT(ANDROID_LOG_WARN, site,
                         "Deprecated API(ClientTrack::%s) is called. please try "
                         "QVAudioSetting::Volume::%s.\n",
                         site.function, instead);
        return AUDIO_NO_ERROR;
    }

    /// Says that a wait for the ring or the source ended because the stream is not ACTIVE any more.
    template <typename Stream>
    static void logInvalidState(const Stream& stream, const LogSite& site) {
        if (stream.mState == NO_INIT)
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]state[NO_INIT] invalid, expect[ACTIVE]\n",
                         stream.mName);
        else
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]state[%s] invalid, expect[ACTIVE]\n",
                         stream.mName, stream.mState == STOPPING ? "STOPPING" : "IDEL");
    }

private:
    /// The lock at which the operations of a sink queue; null for a track.
    static AudioMutex* turnOf(ClientTrack& track);
    static AudioMutex* turnOf(ClientSink& sink);

    template <typename Stream>
    static AudioStreamState state(const Stream& stream) {
        return stream.mState;
    }

    template <typename Stream>
    static void logNoSpace(const Stream& stream, std::uint64_t waitedMs, const LogSite& site) {
        AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "[%s]wait free space timeout %llu\n", stream.mName,
                     llu(waitedMs));
    }

    static void logFree(const Steps& steps, const LogSite& site) {
        if (!steps.isFreed)
            AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site,
                         "AUDIO IGNORE(AUDIO_NO_ERROR == mRc->rcfree(param, ret))!\n");
    }

    template <typename Stream>
    static void waitForWriter(Stream& stream, const LogSite& site) {
        AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "[%s] destroy with out stop finish\n", stream.mName);
        const std::uint64_t waited =
            awaitExit(stream.mLock, stream.mCond, stream.mIsBlocked, WRITER_EXIT_WAIT_MS);
        if (stream.mIsBlocked)
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s] waitting exit timeout[%llu ms]\n",
                         stream.mName, llu(waited));
    }

    template <typename Stream>
    static void logInterruptedWait(Stream& stream, const LogSite& site) {
        if (stream.mState == NO_INIT)
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                         "[%s]waiting free space, exit has requested mState[%d]\n", stream.mName,
                         state(stream));
        else
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]after waiting ,status:%s\n", stream.mName,
                         endOfWait(stream.mState));
    }

    /// A ring that could not be mapped has no flag.
    template <typename Stream>
    static void setRingWait(Stream& stream, bool wait) {
        ShareMemoryEx* const ring = stream.mShareMemory;
        if (ring != nullptr && ring->isUsable()) ring->setWait(wait);
    }
};

}  // namespace cabinaudio
