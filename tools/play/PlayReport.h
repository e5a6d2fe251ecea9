// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "tools/ExitCode.h"
#include "tools/Json.h"

#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::tool {

/// How playing a file came to its end.
enum class PlayEnd {
    Played,       // to the last sample
    TimedOut,     // waiting for something
    Removed,      // by the server, or the server is gone
    Interrupted,  // by the user
    NoServer,
    Refused,  // the server answered an operation with a status
    Failed,   // the file, or a misuse of the library
};

/// What is said about a file that was played, or was not.
struct PlayReport {
    std::string file;
    std::string name;  // of the stream
    AudioTagType tag = AUDIO_TAG_UNKNOWN;
    bool block = true;

    // Of the file; zero while it is not open.
    AudioFormatDesc format = {};
    int channels = 0;
    std::optional<double> durationMs;

    // Of the stream.
    int perLoopBytes = 0;
    int ringBytes = 0;
    std::uint64_t bytesWritten = 0;
    double writtenMs = 0;
    double queuedMs = 0;
    std::uint32_t ringTimeouts = 0;         // writes that ended without a ring
    std::uint32_t spaceTimeouts = 0;        // writes that ended without space
    std::uint32_t shortWrites = 0;          // not blocking: the ring had no room for all
    std::uint32_t ringRanEmpty = 0;         // nothing was queued when the next data came
    std::optional<double> finishedAfterMs;  // from the end of the data to the finish event
    double elapsedMs = 0;                   // from the start to the end

    PlayEnd end = PlayEnd::Failed;
    std::int32_t status = 0;  // of the library or server, behind the end
    std::string waitedFor;    // when it timed out
    std::string text;         // the end, for people; without the file

    [[nodiscard]] double playedMs() const { return writtenMs - queuedMs; }
};

[[nodiscard]] ExitCode exitCode(PlayEnd end);

/// Prints the report: JSON on stdout, or one line; on stderr when the file was not played.
void printReport(const PlayReport& report, bool json);

}  // namespace cabinaudio::tool
