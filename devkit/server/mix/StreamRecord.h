// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/sound/StreamFormat.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// Where a run of a stream's frames lies in the output.
struct Segment {
    std::uint64_t outputFrame;   // of the output, since the server started
    std::uint64_t streamFrame;   // of the stream, as the ring delivered them
    std::uint64_t outputFrames;  // length, in frames of the output
};

/// What a stream has been and done; outlives it for the report.
struct StreamRecord {
    std::string name;
    std::uint32_t tag;
    std::string type;  // of the stream, see settings/StreamTypes.h
    StreamFormat format;
    std::int32_t pid;
    std::string stem;                   // file that got its frames, if any
    std::uint64_t frames = 0;           // taken from the ring
    std::uint64_t discardedFrames = 0;  // left in rings that were withdrawn
    std::uint64_t underruns = 0;        // gaps with sound on both sides
    std::uint32_t finishes = 0;         // times the end of the data was reached
    std::vector<Segment> segments;      // neighbours that touch are one

    /// `outputFrames` frames of the stream lie at `outputFrame` now.
    /// @param isContinued  they follow in the stream what was added before
    void addRun(std::uint64_t outputFrame, std::uint64_t streamFrame, std::uint64_t outputFrames,
                bool isContinued);
};

}  // namespace cabinaudio::server
