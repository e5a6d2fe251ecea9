// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/AudioRecord.h>
#include <cabinaudio/client/ClientRecordRt.h>

#include "tools/StreamEnd.h"
#include "tools/Terminal.h"
#include "tools/record/Record.h"
#include "tools/record/RecordReport.h"
#include "tools/record/TargetHolder.h"

#include <chrono>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace cabinaudio::tool {

/// Records a capture stream into a target.
///
/// Every wait has a deadline and ends on an interruption. Requests to the server have no deadline
/// of their own: the watchdog adds one, and ends the process when it passes.
class Recording {
public:
    /// @param report  filled as far as the recording gets; also read by the watchdog's thread
    /// @param target  opened once the server has accepted the stream, and closed at the end
    Recording(const RecordOptions& options, const Interruption& interruption, Watchdog& watchdog,
              RecordReport& report, TargetHolder& target, ProgressLine& line);

    /// Records until the end that the report then states, and shuts the stream down in good order.
    void run();

private:
    using Clock = StreamControl::Clock;
    using Bytes = std::span<const std::uint8_t>;

    void record();
    void create();
    void openFile();
    void begin();
    void capturePcm();
    void captureFrames();
    int read(std::size_t offset, std::size_t bytes);
    int handleMissingData(int status);
    void waitForMore(int got);
    void store(Bytes bytes);
    void storeFrame(Bytes frame);
    void storeFrame(Bytes frame, double duration);
    void storeSkipped();
    void pace() const;
    void tearDown();
    void stop();
    void endIfRemoved();
    [[nodiscard]] Ending userEnd(const Ending& ending) const;

    [[nodiscard]] bool isUplink() const { return mOptions.tag == AUDIO_TAG_UPLINK; }
    [[nodiscard]] bool isCoded() const { return mOptions.format.codec != RecordCodec::Pcm; }
    [[nodiscard]] bool isMsbc() const { return mOptions.format.codec == RecordCodec::Msbc; }
    [[nodiscard]] bool isComplete() const;
    void updateReport();
    void showMeter();

    const RecordOptions& mOptions;
    StreamControl mControl;
    RecordReport& mReport;
    TargetHolder& mTarget;
    ProgressLine& mLine;

    std::unique_ptr<AudioRecord> mRecord;
    ClientRecordRt* mUplink = nullptr;  // mRecord, if it is one
    bool mIsStarted = false;
    bool mIsSilent = false;                   // the last read returned the library's silence
    bool mHasBegun = false;                   // of Opus: frames are stored
    std::vector<std::uint8_t> mSkippedFrame;  // silence before the first frame of Opus
    Level mMeterLevel;                        // since the meter was shown
    std::vector<std::uint8_t> mBuffer;
    Clock::time_point mStartTime;
    Clock::time_point mLastProgress;  // of the data
    Clock::time_point mLastShown;
};

}  // namespace cabinaudio::tool
