// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/AudioRecord.h>
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
struct StreamParts;
}  // namespace cabinaudio
namespace cabinaudio::wire {
struct CreateReply;
}

/// An ordinary capture stream: the server fills a ring, read() empties it.
///
///     construct -> initCheck -> start -> read ... -> stop -> [clear] -> start ... -> destroy
///
/// Threads    Any thread may call; one lock serialises the operations, requests to the server
///            included. Only one read may wait at a time. The object runs three threads:
///            AS-SktWorker, AS-RCNotifier and one named after the ring.
/// Blocking   Requests wait for the server's reply without a time limit. A blocking read waits up
///            to 1000 ms for each new piece of data. The destructor ends a blocked read and waits
///            for it for up to 500 ms.
/// Lifetime   Destroying an object in which another call than a blocked read, write or request is
///            still under way is the application's fault.
/// Errors     No call throws. Every refusal is logged and returned. Lack of data is no error: a
///            read then returns fewer bytes, possibly none.
/// A record that the server has removed stays STOPPING: destroy it and build a new one.
class CABINAUDIO_API ClientRecord : public AudioRecord,
                                    public ShareMemoryUpdateNotificationCallback {
public:
    /// Registers with the server, creates the stream and maps its ring; blocks until the server has
    /// answered. Reports nothing: call initCheck() next.
    ///
    /// @param name         of the stream, cut to 63 characters; also names its ring
    /// @param tag          what is captured
    /// @param format       what will be read
    /// @param streamParam  forwarded to the server
    ClientRecord(const char* name, AudioTagType tag, AudioFormatDesc& format,
                 int streamParam) noexcept;
    ClientRecord(const ClientRecord&) = delete;
    ClientRecord& operator=(const ClientRecord&) = delete;

    /// Drops what was captured but not read. @return AUDIO_NO_ERROR, or AUDIO_INVALID_STATE when it
    /// is not stopped
    int clear() override;

    /// @retval AUDIO_NO_ERROR       started, or was started already (nothing is sent then)
    /// @retval AUDIO_INVALID_STATE  not created, or removed by the server
    /// Any other status is the server's, or 1 when the request did not go through.
    int start() override;

    /// Does not wake a blocked read, which ends with the next data or its time-out. Statuses as for
    /// start().
    int stop() override;

    /// @param volume  0 to 100; the volume that is set already is not sent again
    /// @retval AUDIO_NO_ERROR
    /// @retval AUDIO_BAD_VALUE      outside 0 to 100
    /// @retval AUDIO_INVALID_STATE  not created, or removed by the server
    /// Any other status is the server's, or 1 when the request did not go through.
    int setVolume(int volume) override;

    /// The server is asked only until the volume is known.
    /// @return the volume, 0 to 100, or -1 when it could not be had
    int getVolume() override;

    /// @return bytes per server period. Takes no lock.
    int getPerLoopSize() override;
    /// @return the ring's size in bytes, 0 without a ring. Takes no lock.
    int getTotalBufferSize() override;

    /// Copies captured data out of the ring.
    ///
    /// Blocking: returns when `bytes` bytes are there, or when nothing new came for 1000 ms or the
    /// stream was stopped, removed or destroyed meanwhile, with what there is by then.
    /// Not blocking: takes what is there.
    ///
    /// @param buffer   room for `bytes` bytes
    /// @param bytes    1 to getTotalBufferSize()
    /// @param isBlock  whether to wait
    /// @return bytes stored in `buffer`, 0 to `bytes`
    /// @retval AUDIO_BAD_VALUE      null buffer, or `bytes` out of range
    /// @retval AUDIO_INVALID_STATE  not started, or another read waits
    int read(unsigned char* buffer, int bytes, bool isBlock) override;

    /// @return bytes that wait in the ring; 0 while not started
    int bytesUsed() override;

    /// Ends a blocked read, releases the ring, leaves the server. Sends no stop request.
    ~ClientRecord() override;

    /// Confirms the stream with the server and begins its diagnostic dump, if one is set up, also
    /// when the server does not confirm it.
    /// @retval AUDIO_NO_ERROR       usable
    /// @retval AUDIO_INVALID_STATE  no server, the server refused the stream, or it was started
    /// Any other status is the server's, or 1 when the request did not go through.
    int initCheck() override;

    /// The ring's receiver thread calls this after the server has written.
    void notify() override;

    /// What the server's notifications run into, on the notifier thread: `record` is a
    /// ClientRecord, and null ends the process.
    static void notifierCallbackFunc(void* record, unsigned msg, unsigned value);

private:
    CABINAUDIO_LOCAL void init(AudioTagType tag, int streamParam) CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL void accept(const cabinaudio::wire::CreateReply& reply,
                                 const cabinaudio::LogSite& site) CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL void onRemoved() CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL std::uint64_t sinceCreation() const;

    CABINAUDIO_LOCAL cabinaudio::StreamParts parts() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL int readLoop(unsigned char* buffer, int bytes, bool isBlock)
        CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL unsigned waitForData() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void endReader() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL bool isIdleOrActive() const CABINAUDIO_REQUIRES(mLock);

    // Set at construction.
    RemoteCall* mRc;

    // Guarded by mLock.
    std::atomic<AudioStreamState> mState CABINAUDIO_GUARDED_BY(mLock);

    // Set at construction.
    char mName[64];
    AudioFormatDesc mFormat;
    AudioTagType mTag;
    std::uint64_t mCreateTime;  // ms
    int mFrameBytes;            // bytes of one frame of all channels

    // Has its own synchronization.
    std::atomic<int> mPerLoopSize;  // bytes

    // Set at construction.
    int mPerLoopTime;     // as the server tells it
    int mPerLoopSamples;  // the same

    // Have their own synchronization.
    std::atomic<ShareMemoryEx*> mShareMemory;  // set once, by the constructor
    AudioMutex mLock;

    // Guarded by mLock.
    bool mIsBlocked CABINAUDIO_GUARDED_BY(mLock);  // a read waits

    // Has its own synchronization.
    AudioCondition mCond;  // waited on with mLock

    // Guarded by mLock.
    int mVolume CABINAUDIO_GUARDED_BY(mLock);  // -1: not known

    // Has its own synchronization.
    std::atomic<AudioDump*> mDump;
};
