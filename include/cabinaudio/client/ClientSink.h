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

/// A playback stream of the tag "main" (0), the source of an output that the server connects and
/// disconnects as it routes. An application goes on writing without knowing the routing.
///
///     construct -> initCheck -> start -> write ... -> [writeDone -> finish] -> stop -> destroy
///
/// The source is not announced at first, then active, and may be removed and activated again at any
/// time. Writes wait for a source that has not been announced, go into the ring of an active one,
/// and are counted and thrown away, after half a second, while it is removed.
///
/// Threads    Any thread may call; one lock serialises the operations, requests to the server
///            included. Only one write may wait at a time. finish() of the callback runs on the
///            notifier thread without the lock. The object runs AS-SktWorker, AS-RCNotifier and,
///            while the source is active, a thread named after the ring.
/// Blocking   Requests wait for the server's reply without a time limit. write() tells its own
///            waits. The destructor ends a blocked write and waits for it for up to 2000 ms.
/// Lifetime   Destroying an object in which another call than a blocked read, write or request is
///            still under way is the application's fault.
/// Errors     No call throws. Every refusal is logged and returned. A missing source is no error:
///            write() then returns 0.
/// A sink that the server has removed stays STOPPING: destroy it and build a new one.
class CABINAUDIO_API ClientSink : public AudioSink, public ShareMemoryUpdateNotificationCallback {
public:
    /// Registers with the server and creates the stream; blocks until the server has answered.
    /// Reports nothing: call initCheck() next.
    ///
    /// @param name         of the stream, cut to 63 characters; also names its ring
    /// @param tag          what the stream is for
    /// @param format       what will be written
    /// @param streamParam  forwarded to the server
    ClientSink(const char* name, AudioTagType tag, AudioFormatDesc& format,
               int streamParam) noexcept;
    ClientSink(const ClientSink&) = delete;
    ClientSink& operator=(const ClientSink&) = delete;

    /// Drops what is queued. @return AUDIO_NO_ERROR, or AUDIO_INVALID_STATE when it
    /// is not stopped
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
    /// Blocking: waits for the source, in periods of 2000 ms without an end, and for space; returns
    /// when everything is queued. Not blocking: queues what fits. Without a source it returns 0 at
    /// once for PCM, and waits like a blocking write for coded formats.
    /// While the source is removed the data is thrown away and the call takes 0.5 s; when its ring
    /// could not be mapped, 1 s. Other operations wait meanwhile.
    ///
    /// @param buffer   may be reused as soon as the call returns
    /// @param len      1 or more, bytes
    /// @param isBlock  whether to wait
    /// @return bytes queued: `len` when blocking; 0 to `len` when not; 0 when the source is
    /// missing,
    ///         removed, or the stream was stopped, removed or destroyed while it waited for one
    /// @retval AUDIO_BAD_VALUE          null buffer or no bytes
    /// @retval AUDIO_INVALID_OPERATION  another write waits, or writeDone() was called
    /// @retval AUDIO_INVALID_STATE      not started; stopped, removed or destroyed while it waited
    ///                                  for space
    /// @retval AUDIO_TIMED_OUT          no space within 600 ms; or no word of the source within
    ///                                  LinkPolicy::replyTimeout, if there is one
    /// When a blocking write ends early, part of the data may have been queued already.
    int write(unsigned char* buffer, int len, bool isBlock) override;

    /// No write is taken any more until the next start() or stop().
    /// @retval AUDIO_NO_ERROR       the server will report the end of playback
    /// @retval AUDIO_INVALID_STATE  announced already, not started, or the source is not active
    /// Any other status is the server's, or 1 when the request did not go through.
    int writeDone() override;

    /// Ends a blocked write, releases the ring, leaves the server. Sends no stop request.
    ~ClientSink() override;

    /// Begins the diagnostic dump, if one is set up. Asks nobody.
    /// @retval AUDIO_NO_ERROR       usable
    /// @retval AUDIO_INVALID_STATE  no server, the server refused the stream, or it was started
    int initCheck() override;

    /// The ring's receiver thread calls this after the server has read.
    void notify() override;

    /// Lets go of the source as if the server had withdrawn it. Takes no stream lock and wakes no
    /// waiting write: must not be called during a write. Waits for another request of this sink
    /// that is under way, and then for the server's acknowledgement.
    void deactived();

    /// What the server's notifications run into, on the notifier thread: `sink` is a ClientSink.
    static void notifierCallbackFunc(void* sink, unsigned msg, unsigned value);

private:
    CABINAUDIO_LOCAL void init(AudioTagType tag, int streamParam) CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL void onSourceActivated() CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL void onSourceDeactivated() CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL void onFinished();
    CABINAUDIO_LOCAL void onRemoved(cabinaudio::LogSite site) CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL bool letGoOfSource(ShareMemoryEx* ring) CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL ShareMemoryEx* detachRing();
    CABINAUDIO_LOCAL std::uint64_t sinceCreation() const;

    CABINAUDIO_LOCAL cabinaudio::PlaybackParts parts() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL ShareMemoryEx* initShareMemory() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL int checkAndWaitSourceReady(bool isBlock, int len) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL bool waitForSource(std::uint64_t ms) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL int checkAndWaitShareBufferFree(int need) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL int blockWrite(unsigned char* buffer, int bytes) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL int nonblockWrite(unsigned char* buffer, int bytes) CABINAUDIO_REQUIRES(mLock);

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
    bool mIsBlocked CABINAUDIO_GUARDED_BY(mLock);  // a write waits

    // Have their own synchronization.
    AudioCondition mCond;  // waited on with mLock
    AudioMutex mLock;

    // Set at construction.
    bool mIsRealtime;

    // Have their own synchronization.
    std::atomic<bool> mSourceActive;
    std::atomic<bool> mSourceRemoved;

    // Guarded by mLock.
    int mTotalWritedLen CABINAUDIO_GUARDED_BY(mLock);  // bytes put into the ring, ever
    int mIneffectiveLen CABINAUDIO_GUARDED_BY(mLock);  // bytes thrown away, ever
};
