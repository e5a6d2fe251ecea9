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
/// An alternative track has its ring as soon as it is constructed and knows no writeDone() and
/// setKeyShift(). An auxiliary track gets its ring when the server announces it; a write that comes
/// first waits for it.
///
/// Threads    Any thread may call; one lock serialises the operations, requests to the server
///            included. Only one write may wait at a time. finish() of the callback runs on the
///            notifier thread without the lock. The object runs three threads: AS-SktWorker,
///            AS-RCNotifier and one named after the ring.
/// Blocking   Requests wait for the server's reply without a time limit. write() waits up to
///            1000 ms for the ring and up to 600 ms each time that it needs space. The destructor
///            ends a blocked write and waits for it for up to 2000 ms.
/// Lifetime   Destroying an object in which another call than a blocked read, write or request is
///            still under way is the application's fault.
/// Errors     No call throws. Every refusal is logged and returned. Requests return AUDIO_NO_MEMORY
///            while a setKeyShift() of the same track is under way.
/// A track that the server has removed stays STOPPING: destroy it and build a new one.
class CABINAUDIO_API ClientTrack : public AudioTrack, public ShareMemoryUpdateNotificationCallback {
public:
    /// Registers with the server and creates the stream; blocks until the server has answered.
    /// Reports nothing: call initCheck() next.
    ///
    /// @param name         of the stream, cut to 63 characters; also names its ring
    /// @param tag          what the stream is for
    /// @param format       what will be written
    /// @param streamParam  forwarded to the server
    ClientTrack(const char* name, AudioTagType tag, AudioFormatDesc& format,
                int streamParam) noexcept;
    ClientTrack(const ClientTrack&) = delete;
    ClientTrack& operator=(const ClientTrack&) = delete;

    /// Drops what is queued. @return AUDIO_NO_ERROR, or AUDIO_INVALID_STATE when it
    /// is not stopped
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
    /// Blocking: returns when everything is queued; waits for free space in steps. Not blocking:
    /// queues what fits, but still waits for an auxiliary track's ring.
    ///
    /// @param buffer   may be reused as soon as the call returns
    /// @param bytes    1 or more
    /// @param isBlock  whether to wait until everything is queued
    /// @return bytes queued: `bytes` when blocking; 0 to `bytes` when not
    /// @retval AUDIO_BAD_VALUE          null buffer or no bytes
    /// @retval AUDIO_INVALID_OPERATION  another write waits, or writeDone() was called
    /// @retval AUDIO_INVALID_STATE      not started, or stopped, removed or destroyed meanwhile
    /// @retval AUDIO_TIMED_OUT          no ring within 1000 ms, or no space within 600 ms
    /// When a blocking write fails, part of the data may have been queued already.
    int write(unsigned char* buffer, int bytes, bool isBlock) override;

    /// Auxiliary tracks: no write is taken any more until the next start() or stop().
    /// @retval AUDIO_NO_ERROR       the server will report the end of playback
    /// @retval AUDIO_INVALID_STATE  alternative track, announced already, or not started
    /// Any other status is the server's, or 1 when the request did not go through.
    int writeDone() override;

    /// @retval AUDIO_NO_ERROR   done; always on an alternative track, where it has no effect
    /// @retval AUDIO_BAD_VALUE  outside 0.8 to 1.2
    /// @retval AUDIO_NO_MEMORY  another request of this track is under way
    /// Any other status is the server's, or 1 when the request did not go through. Takes no lock
    /// and needs no state: call it once the ring is there (getTotalBufferSize() is not 0), because
    /// while it is under way the track cannot ask for an announced ring and stays without.
    int setKeyShift(float key) override;

    /// Ends a blocked write, releases the ring, leaves the server. Sends no stop request.
    ~ClientTrack() override;

    /// Confirms the stream with the server and begins its diagnostic dump, if one is set up.
    /// @retval AUDIO_NO_ERROR       usable
    /// @retval AUDIO_INVALID_STATE  no server, the server refused the stream, or it was started
    /// Any other status is the server's, or 1 when the request did not go through.
    int initCheck() override;

    /// The ring's receiver thread calls this after the server has read.
    void notify() override;

    /// What the server's notifications run into, on the notifier thread: `track` is a ClientTrack.
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
    bool mIsBlocked CABINAUDIO_GUARDED_BY(mLock);  // a write waits

    // Have their own synchronization.
    AudioCondition mCond;  // waited on with mLock
    AudioMutex mLock;
};
