// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plugins/common/IoThread.h"
#include "plugins/common/Mutex.h"
#include "plugins/common/PlaybackPump.h"
#include "plugins/common/Streams.h"
#include "plugins/gstreamer/SinkClock.h"

#include <gst/gst.h>
#include <sys/types.h>

#include <memory>

namespace cabinaudio::gstreamer {

/// Learns of events of a stream, on its I/O thread.
class SinkListener {
public:
    /// The server is gone, or has removed the stream. Once.
    virtual void onLoss() = 0;
    /// The source of a stream of the tag main was withdrawn, or given back.
    virtual void onSource(bool isActive) = 0;

protected:
    ~SinkListener() = default;
};

/// A playback stream on the clock of its sink: sound is put at positions of this clock, counted in
/// samples. Positions that follow each other nearly, follow each other exactly.
///
/// Threads   put() and waitForEnd() by one thread at a time, the rest by any.
/// Blocking  put() while there is no room and the stream runs, waitForEnd() until the end; run(),
///           pause(), stop() and clear() wait for the server's reply, as the link policy allows.
/// Fork      The child of a fork does nothing, and must leave the object alone.
class SinkStream {
public:
    /// @param track     created and stopped
    /// @param begin     of the clock
    /// @param listener  outlives the stream
    SinkStream(std::unique_ptr<audio::QVAudioTrack> track,
               const plugin::PlaybackPump::Settings& settings, GstClockTime begin,
               SinkListener& listener);
    /// Ends the thread and destroys the stream.
    ~SinkStream() = default;
    SinkStream(const SinkStream&) = delete;
    SinkStream& operator=(const SinkStream&) = delete;

    [[nodiscard]] bool hasThread() const { return mThread.isRunning(); }
    /// Whether this is the process that made it.
    [[nodiscard]] bool isOurs() const;

    /// Starts or resumes. @return false when it is lost
    bool run() CABINAUDIO_EXCLUDES(mControl);
    void pause() CABINAUDIO_EXCLUDES(mControl);
    void stop() CABINAUDIO_EXCLUDES(mControl);
    /// Discards what is queued, at once. The next sound is put without regard to the one before.
    void clear() CABINAUDIO_EXCLUDES(mControl);

    /// Sound of this clock position comes next.
    /// @return frames of silence to be put before it, or, if negative, frames that are too late
    [[nodiscard]] std::int64_t place(std::uint64_t sample) CABINAUDIO_EXCLUDES(mControl, mLock);
    /// Queues as many frames as there is room for.
    /// @return their number; 0 while it does not run and is full
    [[nodiscard]] std::size_t put(const unsigned char* data, std::size_t frames);
    /// The positions of all later sound have moved.
    void shift(GstClockTimeDiff distance) CABINAUDIO_EXCLUDES(mLock);

    /// The sound ends with the last frame that was put.
    void end() CABINAUDIO_EXCLUDES(mControl);
    /// Waits for the end to be heard. @return false when the stream is paused, stopped or lost
    [[nodiscard]] bool waitForEnd();

    [[nodiscard]] bool isLost();
    /// Time of the sample that is played now.
    [[nodiscard]] GstClockTime time() CABINAUDIO_EXCLUDES(mLock);
    /// Frames that are queued, here and in the server.
    [[nodiscard]] std::uint64_t queued() { return mPump.delay(); }

    [[nodiscard]] const plugin::PlaybackPump::Settings& settings() const { return mSettings; }

    // For the I/O thread.
    void turn();
    void leave() { mPump.leave(); }
    [[nodiscard]] bool isLeaving() { return mPump.isLeaving(); }

private:
    bool runLocked() CABINAUDIO_REQUIRES(mControl);
    void clearLocked() CABINAUDIO_REQUIRES(mControl) CABINAUDIO_EXCLUDES(mLock);
    [[nodiscard]] std::uint64_t played() CABINAUDIO_REQUIRES(mLock);
    [[nodiscard]] GstClockTime lengthOf(std::uint64_t frames) const;
    [[nodiscard]] std::int64_t framesIn(GstClockTime time) const;

    const pid_t mProcess;
    const plugin::PlaybackPump::Settings mSettings;
    const std::size_t mPeriod;  // of the server, in frames
    SinkListener& mListener;

    plugin::Mutex mControl;  // taken before mLock
    bool mIsEnding CABINAUDIO_GUARDED_BY(mControl) = false;

    plugin::Mutex mLock;
    SinkClock mClock CABINAUDIO_GUARDED_BY(mLock);
    GstClockTime mBegin CABINAUDIO_GUARDED_BY(mLock);  // time of frame 0

    // Of the I/O thread.
    bool mIsLossKnown = false;
    bool mHadSource = false;
    bool mIsWithdrawn = false;

    // In the order of their ends, from the last: the thread uses the track, and the track's
    // notifier uses the pump.
    plugin::ReadyEvent mReady;
    plugin::PlaybackPump mPump;
    std::unique_ptr<audio::QVAudioTrack> mTrack;
    plugin::IoThread<SinkStream> mThread;
};

}  // namespace cabinaudio::gstreamer
