// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientTrack.h>

#include "tools/Interruption.h"
#include "tools/Terminal.h"
#include "tools/Watchdog.h"
#include "tools/play/AudioFile.h"
#include "tools/play/FinishListener.h"
#include "tools/play/Play.h"
#include "tools/play/PlayReport.h"

#include <chrono>
#include <memory>
#include <span>
#include <string>

namespace cabinaudio::tool {

/// Plays one file on a track of its own.
///
/// Every wait has a deadline and ends at an interruption. Requests to the server have no deadline
/// of their own: the watchdog gives them one, and the process ends there.
class Playback {
public:
    /// @param report  filled as far as the playback gets; also read by the watchdog's owner
    Playback(AudioFile& file, const PlayOptions& options, const Interruption& interruption,
             Watchdog& watchdog, PlayReport& report, ProgressLine& line);

    /// Plays to some end, which the report then tells, and takes the track down in good order.
    void run();

private:
    using Clock = std::chrono::steady_clock;
    using Bytes = std::span<unsigned char>;

    struct End;  // thrown to leave the playback

    void play();
    void create();
    void begin();
    void shiftKey();
    void feed();
    void feedChunk(Bytes chunk);
    std::size_t writeWaiting(Bytes bytes);
    std::size_t writeWithoutWaiting(Bytes bytes);
    int write(Bytes bytes);
    std::size_t timedOutWrite(std::size_t taken);
    void awaitFinish();
    void awaitEmptyRing();
    void takeDown();

    void rest(std::chrono::nanoseconds bound) const;
    void endIfInterrupted() const;
    void endIfRemoved();
    void endIfStalled(Clock::time_point since, const char* what) const;
    void demand(int status, const std::string& operation) const;
    [[noreturn]] void endByCreation(int status) const;
    [[noreturn]] void endByRemoval(int status) const;

    void noteProgress();
    void updateReport();
    void showProgress();

    [[nodiscard]] std::size_t queuedBytes();
    [[nodiscard]] std::chrono::nanoseconds queuedTime();
    [[nodiscard]] std::chrono::nanoseconds duration(std::size_t bytes) const;

    AudioFile& mFile;
    const PlayOptions& mOptions;
    const Interruption& mInterruption;
    Watchdog& mWatchdog;
    PlayReport& mReport;
    ProgressLine& mLine;

    FinishListener mFinish;  // outlives the track
    std::unique_ptr<ClientTrack> mTrack;
    bool mIsStarted = false;
    Clock::time_point mStartTime;
    Clock::time_point mLastProgress;  // of the data
    Clock::time_point mLastShown;
};

}  // namespace cabinaudio::tool
