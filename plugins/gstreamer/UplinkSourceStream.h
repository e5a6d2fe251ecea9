// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientRecordRt.h>

#include "plugins/common/Mutex.h"
#include "plugins/common/StreamName.h"
#include "plugins/common/Streams.h"
#include "plugins/common/StuckWatch.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::gstreamer {

/// Codecs of the uplink, with the numbers that formats have.
enum class UplinkCodec : std::uint32_t { Pcm = 0, Aac = 16, Opus = 32 };

/// The uplink as a sequence of frames, read by one thread and started by its reads. Linear sound
/// comes in frames of one period.
///
/// Threads    One thread reads; any thread may call the other functions.
/// Blocking   read() waits for a frame and has no bound of its own: interrupt() ends it at once.
///            The other functions wait for the server's replies, which the link policy bounds.
class UplinkSourceStream {
public:
    /// Interval at which a waiting read looks for a frame.
    static constexpr std::chrono::milliseconds TURN{4};

    enum class Outcome {
        Read,         // frame() has the next frame
        Interrupted,  // by interrupt()
        Lost,         // the server has gone, or has removed the stream
    };

    /// Creates the stream. @return as plugin::openStream()
    [[nodiscard]] static int open(const std::string& name, const AudioFormatDesc& format,
                                  std::shared_ptr<UplinkSourceStream>& stream);
    UplinkSourceStream(const UplinkSourceStream&) = delete;
    UplinkSourceStream& operator=(const UplinkSourceStream&) = delete;

    Outcome read() CABINAUDIO_EXCLUDES(mLock);
    /// The frame of the last read, without the library's header of Opus packets.
    [[nodiscard]] std::span<const unsigned char> frame() const;
    /// Whether the stream has been started since the last call. For the reading thread.
    [[nodiscard]] bool checkRestart() { return std::exchange(mIsFresh, false); }

    /// Ends a read and all later ones until allow().
    void interrupt() CABINAUDIO_EXCLUDES(mLock);
    void allow() CABINAUDIO_EXCLUDES(mLock);
    /// Stops the stream, at the end of a read that is under way. The next read starts it anew, and
    /// frames in between are dropped.
    void stop() CABINAUDIO_EXCLUDES(mLock);

private:
    UplinkSourceStream(std::unique_ptr<plugin::StreamName> name,
                       std::unique_ptr<audio::QVAudioRecord> record,
                       const plugin::StreamRequest& request);

    /// Result of one look at the stream.
    enum class Look { Frame, Nothing, Lost };

    Outcome waitForFrame() CABINAUDIO_EXCLUDES(mLock);
    bool start();
    void stopRecord();
    Look look();
    Look lookForFrame();
    Look lookForPeriod();
    Look judge(int status);
    [[nodiscard]] bool isStuck();
    void makeRoom();

    // Set at construction.
    const std::unique_ptr<plugin::StreamName> mName;
    const std::unique_ptr<ClientRecordRt> mRecord;
    const UplinkCodec mCodec;
    const std::size_t mFrameBytes;  // of linear sound

    // Of the reading thread.
    std::vector<unsigned char> mBuffer;
    std::size_t mFilled = 0;  // bytes of mBuffer
    plugin::StuckWatch mWatch;
    std::uint64_t mFrames = 0;
    bool mIsFresh = false;

    // Have their own synchronization.
    std::atomic<bool> mIsStarted = false;
    plugin::Mutex mLock;
    plugin::Condition mChanged;

    // Guarded by mLock.
    bool mIsInterrupted CABINAUDIO_GUARDED_BY(mLock) = false;
    bool mIsReading CABINAUDIO_GUARDED_BY(mLock) = false;
    bool mMustStop CABINAUDIO_GUARDED_BY(mLock) = false;
};

}  // namespace cabinaudio::gstreamer
