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

/// What is said about a recording.
struct RecordReport {
    std::string file;
    std::string name;  // of the stream
    AudioTagType tag = AUDIO_TAG_UNKNOWN;
    RecordFormat format;
    bool raw = false;
    std::optional<double> wantedMs;  // none: until it is interrupted

    // Of the stream.
    int perLoopBytes = 0;
    int ringBytes = 0;
    std::uint64_t bytesRecorded = 0;  // as the stream delivered them
    std::uint64_t frames = 0;         // of the codec; 0 for linear PCM
    double recordedMs = 0;
    double silentMs = 0;  // of them; an uplink without its ring, or Opus packets without sound
    std::uint32_t readTimeouts = 0;  // reads that ended without data
    double elapsedMs = 0;            // from the start to the end
    Level peak;                      // none when nothing was decoded

    Ending ending;
};

/// Prints the report: JSON on stdout, or one line; on stderr when it is not what was asked for.
void printReport(const RecordReport& report, bool json);

/// The line that a terminal shows while it is recorded, at most `width` columns of ASCII.
/// @param level  since the last line
[[nodiscard]] std::string meterText(const RecordReport& report, Level level, std::size_t width);

/// An escape sequence where the level deserves one, for terminals that know colour; else "".
[[nodiscard]] const char* levelColour(Level level);

}  // namespace cabinaudio::tool
