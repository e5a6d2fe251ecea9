// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace cabinaudio::wavcheck {

/// Position of a run of a stream's frames in the output.
struct Segment {
    std::size_t outputFrame;
    std::size_t streamFrame;
    std::size_t frames;  // of the output
};

/// A stream's entry in the server's report.
struct StreamReport {
    std::string name;
    std::string tag;
    std::string stem;  // file with the stream's frames as read from the ring
    std::size_t underruns;
    std::size_t finishes;
    std::vector<Segment> segments;
};

/// Results of `cabinaudio-server --report FILE --stems DIR`.
struct Report {
    std::size_t frames;       // of the output
    std::size_t latePeriods;  // missed by the server
    std::vector<StreamReport> streams;

    /// @throws std::runtime_error unless exactly one stream has the name
    [[nodiscard]] const StreamReport& stream(const std::string& name) const;
};

/// @throws std::runtime_error when the file cannot be read or is not a valid report
Report readReport(const std::string& path);

}  // namespace cabinaudio::wavcheck
