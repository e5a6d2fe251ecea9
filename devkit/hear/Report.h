// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::hear {

/// Position of a run of a stream's frames in the output. What was read from a report is inside the
/// output, and no sum of these numbers wraps.
struct Segment {
    std::size_t outputFrame = 0;
    std::size_t streamFrame = 0;
    std::size_t frames = 0;  // of the output
};

/// A stream's entry in the server's report.
struct StreamReport {
    std::string name;
    std::string tag;
    std::string stem;   // file with the stream's frames as read from the ring; empty: not written
    unsigned rate = 0;  // Hz
    unsigned channels = 0;
    std::size_t underruns = 0;
    std::size_t finishes = 0;
    std::optional<std::size_t> startedAtFrame;  // of the output
    std::vector<Segment> segments;
};

/// A setting, ducking, start, end or withdrawal, at the output frame at which it took effect.
struct Change {
    std::size_t frame = 0;
    double ms = 0;
    std::string what;
    std::optional<double> db = {};  // of ducking; empty also for silence
    std::string by = {};            // the stream that ducks; empty: none
};

/// Results of `cabinaudio-server --report FILE --stems DIR`.
struct Report {
    bool isPresent = false;       // whether there was a file
    std::size_t frames = 0;       // of the output
    std::size_t latePeriods = 0;  // missed by the server
    std::vector<StreamReport> streams;
    std::vector<Change> changes;  // empty also for servers that do not report them
};

/// @throws Error when the file cannot be read or is not a valid report
[[nodiscard]] Report readReport(const std::string& path);

}  // namespace cabinaudio::hear
