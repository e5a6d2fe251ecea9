// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Recording.h"

#include <cstddef>
#include <string>
#include <vector>

namespace cabinaudio::hear {

/// Period of the server, see devkit/server/README.md.
inline constexpr double PERIOD_MS = 16;

/// Frames of the output in which a stream is heard.
struct Interval {
    std::size_t begin = 0;
    std::size_t end = 0;  // behind the last frame
};

/// In order; adjacent and overlapping intervals become one.
[[nodiscard]] std::vector<Interval> merged(std::vector<Interval> intervals);

/// The intervals of all streams with this name, in order; adjacent and overlapping ones are merged.
/// Without a report, the place where the stem is found in the mix.
/// @return empty: the stream was never heard
/// @throws Error when the report has no such stream; without a report, when there is no such stem
[[nodiscard]] std::vector<Interval> intervalsOf(const Recording& recording,
                                                const std::string& name);

/// The entries with this name.
/// @throws Error when there is none, which names those that are there; or no report
[[nodiscard]] std::vector<const StreamReport*> entriesOf(const Recording& recording,
                                                         const std::string& name);

/// The stem of this very stream, also when others have its name.
/// @param stream  an entry of the recording's report
/// @throws Error when it is not there
[[nodiscard]] const Sound& stemOf(const Recording& recording, const StreamReport& stream);

}  // namespace cabinaudio::hear
