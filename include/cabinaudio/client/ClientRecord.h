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
///            up to 500 ms for it.
/// Lifetime   Do not destroy an object while a call to it is in progress; only a blocked read,
///            write or request is ended safely.
/// Errors     No call throws. Every refusal is logged and returned. Missing data is not an error: a
///            read then returns fewer bytes, possibly none.
/// A record that the server has removed stays STOPPING: destroy it and create a new one.
class CABINAUDIO_API ClientRecord : public AudioRecord,
                                    public ShareMemoryUpdateNotificationCallback {
public:
    /// Registers with the server, creates the stream and maps its ring; blocks until the server has
    /// answered. Does not report a failure: call initCheck() next.
    ///
    /// @param name         of the stream, truncated to 63 characters; also names its ring
    /// @param tag          input to capture
    /// @param format       of the captured data
    /// @param streamParam  forwarded to the server
    ClientRecord(const char* name, AudioTagType tag, AudioFormatDesc& format,
                 int streamParam) noexcept;
    ClientRecord(const ClientRecord&) = delete;
    ClientRecord& operator=(const ClientRecord&) = delete;

    /// Discards captured data that has not been read. @return AUDIO_NO_ERROR, or
    /// AUDIO_INVALID_STATE when it is not stopped
    int clear() override;

    /// @retval AUDIO_NO_ERROR       started, or was started already (nothing is sent then)
    /// @retval AUDIO_INVALID_STATE  not created, or removed by the server
    /// Any other status is the server's, or 1 when the request did not go through.
    int start() override;

    /// Does not wake a blocked read, which ends with the next data or its timeout. Statuses as for
    /// start().
    int stop() override;

    /// @param volume  0 to 100; the volume that is already set is not sent again
    /// @retval AUDIO_NO_ERROR
    /// @retval AUDIO_BAD_VALUE      outside 0 to 100
    /// @retval AUDIO_INVALID_STATE  not created, or removed by the server
    /// Any other status is the server's, or 1 when the request did not go through.
    int setVolume(int volume) override;

    /// Asks the server only while the volume is not known.
    /// @return the volume, 0 to 100, or -1 when it could not be read
    int getVolume() override;

    /// @return bytes per server period. Takes no lock.
    int getPerLoopSize() override;
    /// @return the ring's size in bytes, 0 without a ring. Takes no lock.
    int getTotalBufferSize() override;

    /// Reads captured data from the ring.
    ///
    /// Blocking: returns once `bytes` bytes are read. Returns fewer when no new data arrived for
    /// 1000 ms, or when the stream was stopped, removed or destroyed meanwhile.
    /// Non-blocking: reads the data that is there.
    ///
    /// @param buffer   room for `bytes` bytes
    /// @param bytes    1 to getTotalBufferSize()
    /// @param isBlock  whether to wait
    /// @return bytes stored in `buffer`, 0 to `bytes`
    /// @retval AUDIO_BAD_VALUE      null buffer, or `bytes` out of range
    /// @retval AUDIO_INVALID_STATE  not started, or another read is blocked
    int read(unsigned char* buffer, int bytes, bool isBlock) override;

    /// @return bytes in the ring; 0 while not started
    int bytesUsed() override;

    /// Ends a blocked read, unmaps the ring and disconnects. Sends no stop request.
    ~ClientRecord() override;

    /// Asks the server to confirm the stream, and starts its diagnostic dump if one is configured,
    /// even when the server does not confirm the stream.
    /// @retval AUDIO_NO_ERROR       usable
    /// @retval AUDIO_INVALID_STATE  no server, the server refused the stream, or it was started
    /// Any other status is the server's, or 1 when the request did not go through.
    int initCheck() override;

    /// Called on the ring's receiver thread after the server has written.
    void notify() override;

    /// Receives the server's notifications, on the notifier thread: `record` is a ClientRecord;
    /// null ends the process.
    static void notifierCallbackFunc(void* record, unsigned msg, unsigned value);

private:
    CABINAUDIO_LOCAL void init(AudioTagType tag, int streamParam) CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL void accept(const cabinaudio::wire::CreateReply& reply,
                                 const cabinaudio::LogSite& site) CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL void onRemoved() CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL std::uint64_t sinceCreation() const;

    CABINAUDIO_LOCAL cabinaudio::StreamParts parts() CABINAUDIO_REQUIRES(mLock);
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
    int mPerLoopTime;     // as reported by the server
    int mPerLoopSamples;  // as reported by the server

    // Have their own synchronization.
    std::atomic<ShareMemoryEx*> mShareMemory;  // set once, by the constructor
    AudioMutex mLock;

    // Guarded by mLock.
    bool mIsBlocked CABINAUDIO_GUARDED_BY(mLock);  // a read is blocked

    // Has its own synchronization.
    AudioCondition mCond;  // waited on with mLock

    // Guarded by mLock.
    int mVolume CABINAUDIO_GUARDED_BY(mLock);  // -1: not known

    // Has its own synchronization.
    std::atomic<AudioDump*> mDump;
};
