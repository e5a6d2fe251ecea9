// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioTrack.h>

#include "tools/StreamEnd.h"
#include "tools/Terminal.h"
#include "tools/play/AudioFile.h"
#include "tools/play/FinishListener.h"
#include "tools/play/Play.h"
#include "tools/play/PlayReport.h"

#include <chrono>
#include <memory>
#include <span>
#include <string>

namespace cabinaudio::tool {

/// Plays one file on its own track or sink.
///
/// A sink may lose its source while it plays. Data of that time is discarded in real time, half a
/// second at a time.
///
/// Every wait has a deadline and ends on an interruption. Requests to the server have no deadline
/// of their own: the watchdog adds one, and ends the process when it passes.
class Playback {
public:
    /// @param report  filled as far as the playback gets; also read by the watchdog's thread
    Playback(AudioFile& file, const PlayOptions& options, const Interruption& interruption,
             Watchdog& watchdog, PlayReport& report, ProgressLine& line);

    /// Plays until the end that the report then states, and shuts the stream down in good order.
    void run();

private:
    using Clock = StreamControl::Clock;
    using Bytes = std::span<unsigned char>;

    void play();
    void create();
    int confirm(AudioFormatDesc& format);
    void begin();
    void shiftKey();
    void feed();
    void feedChunk(Bytes chunk);
    [[nodiscard]] std::size_t chunkBytes() const;
    std::size_t writeWaiting(Bytes bytes);
    std::size_t writeWithoutWaiting(Bytes bytes);
    int write(Bytes bytes);
    std::size_t timedOutWrite(std::size_t taken);
    std::size_t discard(Bytes bytes);
    std::size_t noteDiscarded(std::size_t bytes);
    void waitForSource();
    void updateSourceState();
    void waitForFinish();
    void waitForEmptyRing();
    void endIfCut();
    void tearDown();
    void stop();

    void endIfRemoved();
    void endWithoutSource();

    void noteProgress();
    void updateReport();
    void showProgress();

    [[nodiscard]] std::size_t queuedBytes();
    [[nodiscard]] std::chrono::nanoseconds queuedTime();
    [[nodiscard]] std::chrono::nanoseconds duration(std::size_t bytes) const;

    AudioFile& mFile;
    const PlayOptions& mOptions;
    StreamControl mControl;
    PlayReport& mReport;
    ProgressLine& mLine;

    const bool mIsSink;
    FinishListener mFinish;  // outlives the stream
    std::unique_ptr<audio::QVAudioTrack> mTrack;
    bool mIsStarted = false;
    bool mHadSource = false;  // of a sink
    Clock::time_point mStartTime;
    Clock::time_point mLastProgress;  // of the data
    Clock::time_point mLastShown;
};

}  // namespace cabinaudio::tool
