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
class FramedRing;
class RingPatience;
class UplinkPacing;
class UplinkSilence;
struct LogSite;
struct StreamParts;
}  // namespace cabinaudio
namespace cabinaudio::wire {
struct CreateReply;
struct ShareMemoryReply;
}  // namespace cabinaudio::wire

/// The uplink of a call: linear PCM or coded frames that the server places in a physical ring.
///
///     construct -> initCheck -> start -> read ... -> stop -> [clear] -> start ... -> destroy
///
/// The server provides and removes the ring at any time, and a reader never waits for it. Without a
/// ring, reads return silence at the pace of the clock (noise of very low level for PCM, stored
/// packets for mSBC and Opus, nothing for AAC); once the ring has met a whole request, they return
/// its data.
///
/// AudioFormatDesc::codecType selects the data that a read returns:
///
///     0   linear PCM      as many bytes as requested
///     16  AAC             one frame: 3 bytes of LOAS header with the length, then the body
///     32  Opus            one packet: 8 bytes of header (length, big-endian, and 4 more bytes)
///                         and the packet
///     65  mSBC            silence in frames of 57 bytes; live data is refused
///
/// **Buffers must hold getTotalBufferSize() bytes, 456 at least, when the stream is coded.** The
/// byte count of a read is the minimum fill level before a frame is read; it does not limit the
/// frame, which may be longer. Use readFrame() for smaller buffers.
///
/// Threads    Any thread may call; one lock serialises the operations, requests to the server
///            included. Only one read may wait at a time. The ring is mapped and unmapped on
///            the notifier thread. The object runs AS-SktWorker, AS-RCNotifier and, while there is
///            a ring, one named after it.
/// Blocking   Requests wait for the server's reply without a time limit. A blocking read waits as
///            long as `bytes` take at the server's pace, and up to 1000 ms for each new piece of
///            live data. The destructor ends a blocked read and waits up to 500 ms for it.
/// Lifetime   Do not destroy an object while a call to it is in progress; only a blocked read,
///            write or request is ended safely.
/// Errors     No call throws. Every refusal is logged and returned.
/// A record that the server has removed stays STOPPING: destroy it and create a new one.
class CABINAUDIO_API ClientRecordRt : public AudioRecord,
                                      public ShareMemoryUpdateNotificationCallback {
public:
    /// Registers with the server and creates the stream; blocks until the server has answered. Does
    /// not report a failure: call initCheck() next.
    ///
    /// @param name    of the stream, truncated to 63 characters; also names its ring
    /// @param tag     AUDIO_TAG_UPLINK
    /// @param format  of the captured data
    ClientRecordRt(const char* name, AudioTagType tag, AudioFormatDesc& format) noexcept;
    ClientRecordRt(const ClientRecordRt&) = delete;
    ClientRecordRt& operator=(const ClientRecordRt&) = delete;

    /// Discards captured data that has not been read. @return AUDIO_NO_ERROR, or
    /// AUDIO_INVALID_STATE when it is not stopped
    int clear() override;

    /// Starts capturing, and sets the time origin of the paced silence.
    /// @retval AUDIO_NO_ERROR       started, or was started already (nothing is sent then)
    /// @retval AUDIO_INVALID_STATE  not created, or removed by the server
    /// Any other status is the server's, or 1 when the request did not go through.
    int start() override;

    /// Ends a blocked read, which then returns AUDIO_INVALID_STATE. Statuses as for start().
    int stop() override;

    /// Not supported. @return 0
    int setVolume(int volume) override;
    /// Not supported. @return 0
    int getVolume() override;

    /// @return bytes per read step. Takes no lock.
    int getPerLoopSize() override;
    /// @return the ring's size in bytes, 0 without a ring. Takes no lock.
    int getTotalBufferSize() override;

    /// Reads captured data, or silence while there is none.
    ///
    /// Blocking: waits until `bytes` bytes are due. Non-blocking: reads the bytes that are due.
    ///
    /// @param buffer   for coded streams see above
    /// @param bytes    1 or more. A request larger than the ring holds is never met by live data
    /// @param isBlock  whether to wait
    /// @return bytes stored in `buffer`. PCM: `bytes` when blocking, 0 to `bytes` when not. Coded:
    ///         one frame, or 0
    /// @retval AUDIO_BAD_VALUE      null buffer or no bytes; live data of an unsupported codec
    /// @retval AUDIO_INVALID_STATE  not started, another read is blocked, no live data for 1000 ms,
    ///                              or stopped, removed or destroyed meanwhile
    int read(unsigned char* buffer, int bytes, bool isBlock) override;

    /// Reads the next frame of a coded stream, completely or not at all, and never stores more than
    /// `capacity` bytes. Unlike read(), it returns a frame as soon as the frame is complete, and
    /// silent frames at the pace of the stream: one for each getPerLoopSize() bytes at the server's
    /// pace (20 ms of Opus). Linear PCM: the same as read().
    ///
    /// A frame that does not fit is refused and stays in the ring: a later call with a larger
    /// buffer, or read(), gets it. getTotalBufferSize() bytes, 456 at least, are always enough.
    /// Meanwhile the server's further frames fill the ring, and are lost once it is full.
    ///
    /// Blocking: waits until a frame is due; for silence at most one such step, for live frames up
    /// to 1000 ms for each new piece of data. Non-blocking: returns a frame that is due. Like every
    /// operation, it waits for requests of other threads without a time limit. Any thread; only one
    /// read or readFrame may be blocked at a time.
    ///
    /// @param buffer    gets the frame, including its header
    /// @param capacity  bytes that `buffer` holds, 1 or more
    /// @param isBlock   whether to wait
    /// @return bytes stored in `buffer`: one frame. 0: no frame is due, or the codec has no silence
    ///         (AAC, and Opus at other rates than 8, 16, 24 and 48 kHz)
    /// @retval AUDIO_NO_MEMORY      the frame is longer than `capacity`; it stays in the ring
    /// @retval AUDIO_BAD_VALUE      null buffer or no capacity; live data of an unsupported codec;
    ///                              a header whose frame is longer than the ring: the header is
    ///                              dropped
    /// @retval AUDIO_INVALID_STATE  not started, another read is blocked, no live data for 1000 ms,
    ///                              or stopped, removed or destroyed meanwhile
    int readFrame(unsigned char* buffer, int capacity, bool isBlock);

    /// @return bytes that are due: in the ring, or of silence (two server periods at most); 0 while
    ///         not started
    int bytesUsed() override;

    /// Ends a blocked read, unmaps the ring and disconnects. Sends no stop request.
    ~ClientRecordRt() override;

    /// Asks the server to confirm the stream, and starts its diagnostic dump if one is configured,
    /// even when the server does not confirm the stream.
    /// @retval AUDIO_NO_ERROR       usable
    /// @retval AUDIO_INVALID_STATE  no server, the server refused the stream, or it was started
    /// Any other status is the server's, or 1 when the request did not go through.
    int initCheck() override;

    /// Called on the ring's receiver thread after the server has written.
    void notify() override;

    /// Receives the server's notifications, on the notifier thread: `record` is a ClientRecordRt;
    /// null ends the process.
    static void notifierCallbackFunc(void* record, unsigned msg, unsigned value);

private:
    enum class Unit : std::uint8_t;
    struct Wanted;
    struct Supply;
    struct Taken;

    CABINAUDIO_LOCAL void init(AudioTagType tag) CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL bool setUpCodec();
    CABINAUDIO_LOCAL void onRingReady() CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL void onRingGone() CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL void onRemoved() CABINAUDIO_EXCLUDES(mLock);
    CABINAUDIO_LOCAL std::uint64_t sinceCreation() const;
    CABINAUDIO_LOCAL int readAs(Unit unit, unsigned char* buffer, int bytes, bool isBlock,
                                const cabinaudio::LogSite& site);
    CABINAUDIO_LOCAL void logFirstRead(int bytes, bool isBlock, const cabinaudio::LogSite& site);
    CABINAUDIO_LOCAL bool isFramed() const;
    CABINAUDIO_LOCAL unsigned frameStep() const;
    CABINAUDIO_LOCAL unsigned neededForFrame(ShareMemoryEx& ring) const CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL Taken refuseFrame(unsigned length, unsigned capacity,
                                       const cabinaudio::LogSite& site) const;

    CABINAUDIO_LOCAL cabinaudio::StreamParts parts() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void accept(const cabinaudio::wire::CreateReply& reply)
        CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL ShareMemoryEx* initShareMem() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL ShareMemoryEx* adopt(const cabinaudio::wire::ShareMemoryReply& place,
                                          const cabinaudio::LogSite& site)
        CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL ShareMemoryEx* unInitShareMem() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void logNoRing(std::int32_t error, std::int32_t status,
                                    const cabinaudio::LogSite& site) const
        CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void logSourceReady(const cabinaudio::LogSite& site) const
        CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL Taken readLocked(const Wanted& wanted, unsigned char* buffer, bool isBlock,
                                      const cabinaudio::LogSite& site) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL std::int32_t _prepareData(const Wanted& wanted, bool isBlock, unsigned& ready,
                                               const cabinaudio::LogSite& site)
        CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL std::int32_t waitForRest(Supply supply, const Wanted& wanted, unsigned& ready,
                                              const cabinaudio::LogSite& site)
        CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL std::int32_t waitForMore(const Supply& supply, const Wanted& wanted,
                                              const cabinaudio::RingPatience& patience,
                                              const cabinaudio::LogSite& site)
        CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL bool waitFor(std::uint64_t ms) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void logInterruptedWait(const cabinaudio::LogSite& site)
        CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL bool endReader() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL Supply chooseSource(const Wanted& wanted, const cabinaudio::LogSite& site)
        CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void switchToLive(unsigned bytes, const cabinaudio::LogSite& site)
        CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL Supply liveSupply(const Wanted& wanted, ShareMemoryEx& ring) const
        CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL Supply silentSupply(const Wanted& wanted) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL cabinaudio::FramedRing frames(ShareMemoryEx& ring) const
        CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL cabinaudio::UplinkPacing pacing() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL cabinaudio::UplinkSilence silence() const CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL Taken take(unsigned char* buffer, unsigned ready,
                                const cabinaudio::LogSite& site) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL Taken takeFrame(unsigned char* buffer, unsigned capacity, unsigned ready,
                                     const cabinaudio::LogSite& site) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL Taken takeSilentFrame(unsigned char* buffer, unsigned capacity, unsigned ready,
                                           const cabinaudio::LogSite& site)
        CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL Taken takeLiveFrame(unsigned char* buffer, unsigned capacity,
                                         const cabinaudio::LogSite& site)
        CABINAUDIO_REQUIRES(mLock);

    // Has its own synchronization.
    std::atomic<AudioDump*> mDump;

    // Set at construction.
    std::uint64_t mCreateTime;  // ms

    // Guarded by mLock.
    std::uint64_t mUnInitShmTime CABINAUDIO_GUARDED_BY(mLock);  // ms; ring removed last, 0: never

    // Set at construction.
    char mName[64];
    RemoteCall* mRc;

    // Guarded by mLock.
    std::atomic<AudioStreamState> mState CABINAUDIO_GUARDED_BY(mLock);

    // Have their own synchronization.
    std::atomic<bool> mFirstReadLogged;
    AudioMutex mLock;

    // Set at construction.
    AudioFormatDesc mFormat;

    // Has its own synchronization.
    std::atomic<ShareMemoryEx*> mShareMemory;  // changed under mLock, read without it

    // Guarded by mLock.
    bool mSourceReady CABINAUDIO_GUARDED_BY(mLock);  // the ring has met a whole request

    // Has its own synchronization.
    AudioCondition mCond;  // waited on with mLock

    // Guarded by mLock.
    bool mIsBlocked CABINAUDIO_GUARDED_BY(mLock);  // a read is blocked

    // Set at construction.
    std::uint32_t mBytesPerMSec;

    // Have their own synchronization.
    std::atomic<std::uint64_t> mTotalReadBytes;  // ever
    std::atomic<std::uint64_t> mStartTime;       // ms; origin of the pacing

    // Set at construction.
    std::uint32_t mCacheSizeMax;  // bytes; cap of the paced backlog
    std::uint32_t mFrameSize;     // bytes; 0: stored in each frame
    std::uint32_t mPerLoopSamples;

    // Has its own synchronization.
    std::atomic<std::uint32_t> mPerLoopBytes;

    // Set at construction.
    std::uint32_t mPerLoopTime;
    std::uint32_t mHeaderSize;  // bytes
    std::uint32_t mCodecExtra1;
    std::uint32_t mCodecExtra2;
};
