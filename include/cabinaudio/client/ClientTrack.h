// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/AudioTrack.h>
#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioExport.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/foundation/AudioTypes.h>
#include <cabinaudio/foundation/ThreadSafety.h>
#include <cabinaudio/shm/ShareMemory.h>

#include <atomic>
#include <cstdint>

class AudioDump;
class RemoteCall;
namespace cabinaudio {
struct LogSite;
struct PlaybackParts;
}  // namespace cabinaudio

/// A playback stream of the tags "alternative" (1) or "auxiliary" (every other tag).
///
///     construct -> initCheck -> start -> write ... -> [writeDone -> finish] -> stop -> destroy
///
/// An alternative track has its ring as soon as it is constructed, and supports neither writeDone()
/// nor setKeyShift(). An auxiliary track gets its ring when the server announces it; an earlier
/// write waits for it.
///
/// Threads    Any thread may call; one lock serialises the operations, requests to the server
///            included. Only one write may wait at a time. finish() of the callback runs on the
///            notifier thread without the lock. The object runs three threads: AS-SktWorker,
///            AS-RCNotifier and one named after the ring.
/// Blocking   Requests wait for the server's reply without a time limit. write() waits up to 1000
///            ms for the ring and up to 600 ms each time that it needs space. The destructor ends a
///            blocked write and waits up to 2000 ms for it.
/// Lifetime   Do not destroy an object while a call to it is in progress; only a blocked read,
///            write or request is ended safely.
/// Errors     No call throws. Every refusal is logged and returned. Requests return AUDIO_NO_MEMORY
///            while a setKeyShift() of the same track is in progress.
/// A track that the server has removed stays STOPPING: destroy it and create a new one.
class CABINAUDIO_API ClientTrack : public AudioTrack, public ShareMemoryUpdateNotificationCallback {
public:
    /// Registers with the server and creates the stream; blocks until the server has answered. Does
    /// not report a failure: call initCheck() next.
    ///
    /// @param name         of the stream, truncated to 63 characters; also names its ring
    /// @param tag          purpose of the stream
    /// @param format       of the data to write
    /// @param streamParam  forwarded to the server
    ClientTrack(const char* name, AudioTagType tag, AudioFormatDesc& format,
                int streamParam) noexcept;
    ClientTrack(const ClientTrack&) = delete;
    ClientTrack& operator=(const ClientTrack&) = delete;

    /// Discards queued data. @return AUDIO_NO_ERROR, or AUDIO_INVALID_STATE when it is not stopped
    int clear() override;

    /// @retval AUDIO_NO_ERROR       started, or was started already (nothing is sent then)
    /// @retval AUDIO_INVALID_STATE  not created, or removed by the server
    /// Any other status is the server's, or 1 when the request did not go through.
    int start() override;

    /// Ends a blocked write, which then returns AUDIO_INVALID_STATE (AUDIO_TIMED_OUT if it waited
    /// for the ring). Statuses as for start().
    int stop() override;

    /// @return AUDIO_NO_ERROR
    int setCallback(audio::QVAudioTrackCallback* callback) override;

    int setVolume(int volume) override;
    int getVolume() override;

    int getPerLoopSize() override;
    int getTotalBufferSize() override;
    int bytesFree() override;

    int getOutPutSamples(unsigned long long* samples, long long* timeUs) override;
    int duck(int percent) override;
    int unduck() override;

    /// Copies PCM into the ring.
    ///
    /// Blocking: returns when all data is queued; waits for free space in steps. Non-blocking:
    /// queues what fits, but still waits for an auxiliary track's ring.
    ///
    /// @param buffer   may be reused as soon as the call returns
    /// @param bytes    1 or more
    /// @param isBlock  whether to wait until all data is queued
    /// @return bytes queued: `bytes` when blocking; 0 to `bytes` when not
    /// @retval AUDIO_BAD_VALUE          null buffer or no bytes
    /// @retval AUDIO_INVALID_OPERATION  another write is blocked, or writeDone() was called
    /// @retval AUDIO_INVALID_STATE      not started, or stopped, removed or destroyed meanwhile
    /// @retval AUDIO_TIMED_OUT          no ring within 1000 ms, or no space within 600 ms
    /// When a blocking write fails, part of the data may have been queued already.
    int write(unsigned char* buffer, int bytes, bool isBlock) override;

    /// Announces the end of the data of an auxiliary track: writes are refused until the next
    /// start() or stop().
    /// @retval AUDIO_NO_ERROR       the server will report the end of playback
    /// @retval AUDIO_INVALID_STATE  alternative track, announced already, or not started
    /// Any other status is the server's, or 1 when the request did not go through.
    int writeDone() override;

    /// @retval AUDIO_NO_ERROR   done; always on an alternative track, where it has no effect
    /// @retval AUDIO_BAD_VALUE  outside 0.8 to 1.2
    /// @retval AUDIO_NO_MEMORY  another request of this track is in progress
    /// Any other status is the server's, or 1 when the request did not go through. Takes no lock
    /// and works in every state. Call it once the ring is mapped (getTotalBufferSize() is not 0):
    /// while it is in progress the track cannot ask for an announced ring, and would stay without
    /// one.
    int setKeyShift(float key) override;

    /// Ends a blocked write, unmaps the ring and disconnects. Sends no stop request.
    ~ClientTrack() override;

    /// Asks the server to confirm the stream and then starts its diagnostic dump, if one is
    /// configured.
    /// @retval AUDIO_NO_ERROR       usable
    /// @retval AUDIO_INVALID_STATE  no server, the server refused the stream, or it was started
    /// Any other status is the server's, or 1 when the request did not go through.
    int initCheck() override;

    /// Called on the ring's receiver thread after the server has read.
    void notify() override;

    /// Receives the server's notifications, on the notifier thread: `track` is a ClientTrack.
    static void notifierCallbackFunc(void* track, unsigned msg, unsigned value);

private:
    CABINAUDIO_LOCAL void init(int streamParam) CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL void onRingReady() CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL void onFinished();
    CABINAUDIO_LOCAL void onRemoved(cabinaudio::LogSite site) CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL std::uint64_t sinceCreation() const;

    CABINAUDIO_LOCAL cabinaudio::PlaybackParts parts() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL ShareMemoryEx* initShareMemory() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL bool checkAndWaitShareBufferReady() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL int checkAndWaitShareBufferFree(int need) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL int blockWrite(unsigned char* buffer, int bytes) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL int nonblockWrite(unsigned char* buffer, int bytes) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL int writeOnce(unsigned char* buffer, int len) CABINAUDIO_REQUIRES(mLock);

    // Set at construction.
    char mName[64];
    AudioFormatDesc mFormat;
    RemoteCall* mRc;

    // Has its own synchronization.
    std::atomic<audio::QVAudioTrackCallback*> mCallback;

    // Guarded by mLock.
    std::atomic<AudioStreamState> mState CABINAUDIO_GUARDED_BY(mLock);

    // Set at construction.
    AudioTagType mTag;

    // Has its own synchronization.
    std::atomic<bool> mFirstWriteLogged;

    // Guarded by mLock.
    bool mIsWriteDone CABINAUDIO_GUARDED_BY(mLock);

    // Have their own synchronization.
    std::atomic<std::uint64_t> mWriteDoneTime;  // ms
    std::atomic<AudioDump*> mDump;

    // Set at construction.
    std::uint64_t mCreateTime;  // ms
    bool mIsAuxiliary;

    // Have their own synchronization.
    std::atomic<ShareMemoryEx*> mShareMemory;  // changed under mLock, read without it
    std::atomic<int> mPerLoopSize;             // bytes

    // Guarded by mLock.
    bool mIsBlocked CABINAUDIO_GUARDED_BY(mLock);  // a write is blocked

    // Have their own synchronization.
    AudioCondition mCond;  // waited on with mLock
    AudioMutex mLock;
};
