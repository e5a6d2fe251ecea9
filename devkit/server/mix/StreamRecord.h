// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/sound/StreamFormat.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// Position of a run of a stream's frames in the output.
struct Segment {
    std::uint64_t outputFrame;   // first frame in the output, since the server started
    std::uint64_t streamFrame;   // first frame in the stream, as read from the ring
    std::uint64_t outputFrames;  // length, in frames of the output
};

/// Something that happened to a stream, and where in the output it took effect.
struct StreamChange {
    std::uint64_t outputFrame;
    const char* what;  // "start", "stop", "end", "withdrawn", "activated" or "removed"
};

/// History of a stream for the report; outlives the stream.
struct StreamRecord {
    std::string name;
    std::uint32_t tag;
    std::string type;  // of the stream, see settings/StreamTypes.h
    StreamFormat format;
    std::int32_t pid;
    std::string stem;                   // file that its frames were written to, if any
    std::uint64_t frames = 0;           // taken from the ring
    std::uint64_t discardedFrames = 0;  // left in withdrawn rings
    std::uint64_t underruns = 0;        // gaps with sound on both sides
    std::uint32_t finishes = 0;         // times the end of the data was reached
    /// Frame of the output at which the stream first took part; empty if it never did.
    std::optional<std::uint64_t> startedAtFrame;
    bool keepsChanges = false;
    std::vector<StreamChange> changes;
    std::vector<Segment> segments;  // adjacent ones are merged

    void addChange(std::uint64_t outputFrame, const char* what) {
        if (keepsChanges) changes.push_back({outputFrame, what});
    }
    /// Records that `outputFrames` frames of the stream lie at `outputFrame`.
    /// @param isContinued  the frames directly follow the previous run in the stream
    void addRun(std::uint64_t outputFrame, std::uint64_t streamFrame, std::uint64_t outputFrames,
                bool isContinued);
};

}  // namespace cabinaudio::server
