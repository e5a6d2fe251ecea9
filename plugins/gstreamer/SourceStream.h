// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plugins/common/CapturePump.h"
#include "plugins/common/Mutex.h"
#include "plugins/common/ReadyEvent.h"
#include "plugins/common/StreamName.h"
#include "plugins/common/Streams.h"

#include <cstddef>
#include <memory>
#include <string>

namespace cabinaudio::gstreamer {

/// A captured stream that is read in whole segments by one thread, and started by its reads.
///
/// Threads    One thread reads; any thread may call the other functions.
/// Blocking   read() waits for sound and has no bound of its own: stop() and close() end it. The
///            other functions wait for the server's replies, which the link policy bounds.
class SourceStream {
public:
    enum class Outcome {
        Read,   // sound
        Ended,  // by stop() or close(): the rest is silence
        Lost,   // the stream has just been found gone: the rest is silence
    };

    /// Creates the stream. @return as plugin::openStream()
    [[nodiscard]] static int open(const std::string& name, plugin::StreamRequest request,
                                  std::shared_ptr<SourceStream>& stream);
    SourceStream(const SourceStream&) = delete;
    SourceStream& operator=(const SourceStream&) = delete;

    /// One period of the server in whole frames.
    [[nodiscard]] std::size_t periodBytes() const;

    /// Fills the whole segment. After a loss it waits for stop() or close().
    Outcome read(unsigned char* data, std::size_t bytes) CABINAUDIO_EXCLUDES(mLock);

    /// Frames that are captured and not read.
    [[nodiscard]] std::size_t delay() { return static_cast<std::size_t>(mPump.delay()); }

    /// Stops the stream once the segment that is being read is full.
    void pause() CABINAUDIO_EXCLUDES(mLock);
    /// Sound that was captured before the pause and not read is dropped.
    void resume() CABINAUDIO_EXCLUDES(mLock);
    /// Ends a read and stops the stream; the next read starts it anew.
    void stop() CABINAUDIO_EXCLUDES(mLock);
    /// Ends this and all later reads. Sends nothing.
    void close() CABINAUDIO_EXCLUDES(mLock);

    /// @param percent  of the amplitude. @return whether the server has set it
    bool setVolume(int percent) { return mRecord->setVolume(percent) == 0; }

private:
    SourceStream(std::unique_ptr<plugin::StreamName> name,
                 std::unique_ptr<audio::QVAudioRecord> record,
                 const plugin::StreamRequest& request);

    Outcome fill(unsigned char* data, std::size_t frames) CABINAUDIO_REQUIRES(mLock);
    std::size_t take(unsigned char* data, std::size_t frames) CABINAUDIO_REQUIRES(mLock);
    void startIfNeeded() CABINAUDIO_REQUIRES(mLock);
    void stopRecord() CABINAUDIO_REQUIRES(mLock);

    // Set at construction.
    const std::unique_ptr<plugin::StreamName> mName;
    const std::unique_ptr<audio::QVAudioRecord> mRecord;
    const std::size_t mFrameBytes;
    const unsigned char mSilence;
    const plugin::CapturePump::Settings mSettings;

    // Have their own synchronization.
    plugin::ReadyEvent mReady;
    plugin::CapturePump mPump;
    plugin::Mutex mLock;
    plugin::Condition mChanged;

    // Guarded by mLock.
    bool mIsReading CABINAUDIO_GUARDED_BY(mLock) = false;
    bool mIsStarted CABINAUDIO_GUARDED_BY(mLock) = false;
    bool mIsPaused CABINAUDIO_GUARDED_BY(mLock) = false;
    bool mIsClosed CABINAUDIO_GUARDED_BY(mLock) = false;
    bool mIsLossKnown CABINAUDIO_GUARDED_BY(mLock) = false;
    unsigned mStops CABINAUDIO_GUARDED_BY(mLock) = 0;
};

}  // namespace cabinaudio::gstreamer
