// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace cabinaudio::wavcheck {

/// Where a run of a stream's frames lies in the output.
struct Segment {
    std::size_t outputFrame;
    std::size_t streamFrame;
    std::size_t frames;  // of the output
};

/// A stream as the server's report tells it.
struct StreamReport {
    std::string name;
    std::string tag;
    std::string stem;  // file with the stream's frames as the server took them from the ring
    std::size_t underruns;
    std::size_t finishes;
    std::vector<Segment> segments;
};

/// What `cabinaudio-server --report FILE --stems DIR` leaves behind.
struct Report {
    std::size_t frames;       // of the output
    std::size_t latePeriods;  // that the server missed
    std::vector<StreamReport> streams;

    /// @throws std::runtime_error unless exactly one stream has the name
    [[nodiscard]] const StreamReport& stream(const std::string& name) const;
};

/// @throws std::runtime_error when the file cannot be read or is no such report
Report readReport(const std::string& path);

}  // namespace cabinaudio::wavcheck
