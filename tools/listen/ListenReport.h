// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/StreamEnd.h"
#include "tools/listen/Listen.h"
#include "tools/record/Level.h"
#include "tools/record/RecordFormat.h"

#include <cstdint>

namespace cabinaudio::tool {

/// Result of listening.
struct ListenReport {
    RecordFormat format;
    std::uint64_t frames = 0;      // stored, with those below
    std::uint64_t lostFrames = 0;  // did not fit into the server's buffer; stored as silence
    Level peak;
    Ending ending;
};

/// Prints the report: JSON on stdout, or one line, on stderr if listening ended early.
void printReport(const ListenReport& report, const ListenOptions& options, bool json);

/// Seconds of this many frames.
[[nodiscard]] double secondsOf(std::uint64_t frames, const RecordFormat& format);

}  // namespace cabinaudio::tool
