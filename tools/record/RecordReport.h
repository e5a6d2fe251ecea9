// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "tools/StreamEnd.h"
#include "tools/record/Level.h"
#include "tools/record/RecordFormat.h"

#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::tool {

/// Result of a recording.
struct RecordReport {
    std::string file;
    std::string name;  // of the stream
    AudioTagType tag = AUDIO_TAG_UNKNOWN;
    RecordFormat format;
    bool raw = false;
    std::optional<double> wantedMs;  // empty: until interrupted

    // Of the stream.
    int perLoopBytes = 0;
    int ringBytes = 0;
    std::uint64_t bytesRecorded = 0;  // as delivered by the stream
    std::uint64_t frames = 0;         // codec frames; 0 for linear PCM
    double recordedMs = 0;
    double silentMs = 0;             // part of them: an uplink without a ring, or Opus silence
    double skippedMs = 0;            // silence before the first frame of Opus, not recorded
    std::uint32_t readTimeouts = 0;  // reads that timed out without data
    double elapsedMs = 0;            // from start to end
    Level peak;                      // empty when nothing was decoded

    Ending ending;
};

/// Prints the report: JSON on stdout, or one line, on stderr if the recording is incomplete.
void printReport(const RecordReport& report, bool json);

/// The terminal's status line during recording, at most `width` columns of ASCII.
/// @param level  since the previous line
[[nodiscard]] std::string meterText(const RecordReport& report, Level level, std::size_t width);

/// Escape sequence for a high level, for terminals with colours; otherwise "".
[[nodiscard]] const char* levelColour(Level level);

}  // namespace cabinaudio::tool
