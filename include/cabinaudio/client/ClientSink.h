// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/AudioSink.h>
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

/// A playback stream of the tag "main" (0): a source that the server connects to an output and
/// disconnects from it as it routes. An application keeps writing without knowing the routing.
///
///     construct -> initCheck -> start -> write ... -> [writeDone -> finish] -> stop -> destroy
///
/// The server activates the source some time after creation, and may withdraw and activate it again
/// at any time. Writes wait for the first activation, and go to the ring of an active source. While
/// the source is withdrawn, a write that would wait takes half a second, and its data is counted
/// and discarded.
///
/// Threads    Any thread may call; one lock serialises the operations, requests to the server
///            included. Only one write may wait at a time. finish() of the callback runs on the
///            notifier thread without the lock. The object runs AS-SktWorker, AS-RCNotifier and,
///            while the source is active, a thread named after the ring.
/// Blocking   Requests wait for the server's reply without a time limit. For the waits of write()
///            see there. The destructor ends a blocked write and waits up to 2000 ms for it.
/// Lifetime   Do not destroy an object while a call to it is in progress; only a blocked read,
///            write or request is ended safely.
/// Errors     No call throws. Every refusal is logged and returned. A missing source is not an
///            error: write() then returns 0.
/// A sink that the server has removed stays STOPPING: destroy it and create a new one.
class CABINAUDIO_API ClientSink : public AudioSink, public ShareMemoryUpdateNotificationCallback {
public:
    /// Registers with the server and creates the stream; blocks until the server has answered. Does
    /// not report a failure: call initCheck() next.
    ///
    /// @param name         of the stream, truncated to 63 characters; also names its ring
    /// @param tag          purpose of the stream
    /// @param format       of the data to write
    /// @param streamParam  forwarded to the server
    ClientSink(const char* name, AudioTagType tag, AudioFormatDesc& format,
               int streamParam) noexcept;
    ClientSink(const ClientSink&) = delete;
    ClientSink& operator=(const ClientSink&) = delete;

    /// Discards queued data. @return AUDIO_NO_ERROR, or AUDIO_INVALID_STATE when it is not stopped
    int clear() override;

    /// @retval AUDIO_NO_ERROR       started, or was started already (nothing is sent then)
    /// @retval AUDIO_INVALID_STATE  not created, or removed by the server
    /// Any other status is the server's, or 1 when the request did not go through.
    int start() override;

    /// Ends a blocked write, which then returns 0 when it waited for the source and
    /// AUDIO_INVALID_STATE when it waited for space. Statuses as for start().
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

    /// Copies PCM or coded data into the ring.
    ///
    /// Blocking: waits for the source without a time limit (a log line every 2000 ms), and for
    /// space; returns when all data is queued. Non-blocking: queues what fits. Without a source it
    /// returns 0 at once for PCM, and waits like a blocking write for coded formats. Otherwise,
    /// while the source is withdrawn, the data is discarded and the call takes 0.5 s; when the ring
    /// of an active source could not be mapped, 1 s. Other operations wait meanwhile.
    ///
    /// @param buffer   may be reused as soon as the call returns
    /// @param len      1 or more, bytes
    /// @param isBlock  whether to wait
    /// @return bytes queued: `len` when blocking; 0 to `len` when not; 0 when the source is missing
    ///         or withdrawn, or the stream was stopped, removed or destroyed during that wait
    /// @retval AUDIO_BAD_VALUE          null buffer or no bytes
    /// @retval AUDIO_INVALID_OPERATION  another write is blocked, or writeDone() was called
    /// @retval AUDIO_INVALID_STATE      not started; stopped, removed or destroyed while it waited
    ///                                  for space
    /// @retval AUDIO_TIMED_OUT          no space within 600 ms; or no notification about the source
    ///                                  within LinkPolicy::replyTimeout, if that is set
    /// When a blocking write ends early, part of the data may have been queued already.
    int write(unsigned char* buffer, int len, bool isBlock) override;

    /// Announces the end of the data: writes are refused until the next start() or stop().
    /// @retval AUDIO_NO_ERROR       the server will report the end of playback
    /// @retval AUDIO_INVALID_STATE  announced already, not started, or the source is not active
    /// Any other status is the server's, or 1 when the request did not go through.
    int writeDone() override;

    /// Ends a blocked write, unmaps the ring and disconnects. Sends no stop request.
    ~ClientSink() override;

    /// Starts the diagnostic dump, if one is configured. Sends no request.
    /// @retval AUDIO_NO_ERROR       usable
    /// @retval AUDIO_INVALID_STATE  no server, the server refused the stream, or it was started
    int initCheck() override;

    /// Called on the ring's receiver thread after the server has read.
    void notify() override;

    /// Releases the source as if the server had withdrawn it. Takes no stream lock and wakes no
    /// blocked write: must not be called during a write. Waits for another request of this sink in
    /// progress, and then for the reply to its acknowledgement.
    void deactived();

    /// Receives the server's notifications, on the notifier thread: `sink` is a ClientSink.
    static void notifierCallbackFunc(void* sink, unsigned msg, unsigned value);

private:
    CABINAUDIO_LOCAL void init(AudioTagType tag, int streamParam) CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL void onSourceActivated() CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL void onSourceDeactivated() CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL void onFinished();
    CABINAUDIO_LOCAL void onRemoved(cabinaudio::LogSite site) CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL bool acknowledgeWithdrawal(ShareMemoryEx* ring) CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL ShareMemoryEx* detachRing();
    CABINAUDIO_LOCAL std::uint64_t sinceCreation() const;

    CABINAUDIO_LOCAL cabinaudio::PlaybackParts parts() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL ShareMemoryEx* initShareMemory() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL int checkAndWaitSourceReady(bool isBlock, int len) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL bool waitForSource(std::uint64_t ms) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL int checkAndWaitShareBufferFree(int need) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL int blockWrite(unsigned char* buffer, int bytes) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL int nonblockWrite(unsigned char* buffer, int bytes) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL int writeOnce(unsigned char* buffer, int len, bool isBlock)
        CABINAUDIO_REQUIRES(mLock);

    // Set at construction.
    char mName[64];
    AudioFormatDesc mFormat;
    RemoteCall* mRc;

    // Have their own synchronization.
    std::atomic<audio::QVAudioTrackCallback*> mCallback;
    std::atomic<AudioStreamState> mState;  // changed under mLock, read without it

    // Set at construction.
    AudioTagType mTag;

    // Guarded by mLock.
    bool mIsWriteDone CABINAUDIO_GUARDED_BY(mLock);

    // Have their own synchronization.
    std::atomic<std::uint64_t> mWriteDoneTime;  // ms
    std::atomic<AudioDump*> mDump;

    // Set at construction.
    std::uint64_t mCreateTime;  // ms

    // Have their own synchronization.
    std::atomic<ShareMemoryEx*> mShareMemory;  // changed under mLock, read without it
    std::atomic<int> mPerLoopSize;             // bytes

    // Guarded by mLock.
    bool mIsBlocked CABINAUDIO_GUARDED_BY(mLock);  // a write is blocked

    // Have their own synchronization.
    AudioCondition mCond;  // waited on with mLock
    AudioMutex mLock;

    // Set at construction.
    bool mIsRealtime;

    // Have their own synchronization.
    std::atomic<bool> mSourceActive;
    std::atomic<bool> mSourceRemoved;

    // Guarded by mLock.
    int mTotalWritedLen CABINAUDIO_GUARDED_BY(mLock);  // total bytes written to the ring
    int mIneffectiveLen CABINAUDIO_GUARDED_BY(mLock);  // total bytes discarded
};
