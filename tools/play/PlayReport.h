// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "tools/Json.h"
#include "tools/StreamEnd.h"

#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::tool {

/// Result of playing a file.
struct PlayReport {
    std::string file;
    std::string name;  // of the stream
    AudioTagType tag = AUDIO_TAG_UNKNOWN;
    bool block = true;

    // Of the file; zero while it is not open.
    AudioFormatDesc format = {};
    int channels = 0;
    std::optional<double> durationMs;
    std::optional<double> missingMs;  // of a file that is cut short; empty also when unknown

    // Of the stream.
    int perLoopBytes = 0;
    int ringBytes = 0;
    std::uint64_t bytesWritten = 0;
    std::uint64_t bytesDiscarded = 0;  // offered while a sink's source was withdrawn
    std::uint32_t withdrawals = 0;     // of a sink's source
    bool isWithdrawn = false;          // a sink's source, now
    double writtenMs = 0;
    double queuedMs = 0;
    std::uint32_t ringTimeouts = 0;         // writes that timed out without a ring
    std::uint32_t spaceTimeouts = 0;        // writes that timed out without space
    std::uint32_t shortWrites = 0;          // non-blocking: the ring had no room for all data
    std::uint32_t ringRanEmpty = 0;         // the queue was empty when the next data arrived
    std::optional<double> finishedAfterMs;  // from the last data to the finish event
    double elapsedMs = 0;                   // from start to end

    Ending ending;

    [[nodiscard]] double playedMs() const { return writtenMs - queuedMs; }
};

/// Prints the report: JSON on stdout, or one line, on stderr if the file was not played.
void printReport(const PlayReport& report, bool json);

}  // namespace cabinaudio::tool
