// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Streams.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::hear {

/// Tells when any stream ducks, so that a gain is not measured at the wrong time.
///
/// The report's changes say when ducking begins and ends, and the first stream that causes it. A
/// report without changes has the streams' places only; then each stream of the tag `alternative`
/// ducks while it is heard.
class DuckedTimes {
public:
    struct Names {
        std::string ducked;
        std::string prompt;
    };
    /// Frames of the output.
    struct Delays {
        std::size_t release;  // from a prompt's end to the begin of the ramp, at most
        std::size_t ramp;
    };

    DuckedTimes(const Recording& recording, const Names& names, const Delays& delays);

    /// Whether the gain may be lowered, or still rises, in a part of this interval.
    [[nodiscard]] bool isDucked(const Interval& interval) const;

    /// A stream that may duck in this interval in addition to `prompt`, or instead of it: it is
    /// heard, or has just been, and does not have the tag `main`.
    /// @return its name; empty: nothing else ducks
    [[nodiscard]] std::optional<std::string> otherAt(const Interval& interval,
                                                     const Interval& prompt) const;

    /// The last time before `frame`, or the first behind it, in which nothing ducks; at most
    /// `length` frames.
    [[nodiscard]] Interval freeBefore(std::size_t frame, std::size_t length) const;
    [[nodiscard]] Interval freeBehind(std::size_t frame, std::size_t length) const;

private:
    struct Span {
        std::string name;
        Interval interval;
    };

    std::string mPrompt;
    std::vector<Interval> mDucked;  // in order, apart
    std::vector<Span> mPossible;    // streams that may duck
};

}  // namespace cabinaudio::hear
