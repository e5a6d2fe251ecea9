// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Scenario.h"

#include <cstdint>
#include <vector>

namespace cabinaudio::tool::scenario {

/// A moment at which time stands while this program acts.
struct Stop {
    Moment at;
    unsigned line;                            // that asks for it first
    std::vector<const TimedAction*> actions;  // in order; none where only time must stand
};

/// How the times of one part are divided: what the server does alone, and what needs this program.
struct Timeline {
    /// Settings and programs of time 0: time may be held there until their streams have started.
    std::vector<const TimedAction*> beginning;
    Words serverOptions;      // --await and --at
    std::vector<Stop> stops;  // rising
};

/// All actions of a moment become a stop if one of them needs this program, because the server's
/// own ones would come first otherwise. A crash needs it: the server ends.
/// @param isLast  whether `until` ends this part
/// @param part    must live longer than the result
[[nodiscard]] Timeline timelineOf(const Part& part, const Until& until, bool isLast);

/// The frame at which a part ends at the latest if nothing else ends it: an hour after the last
/// stop. Sound files of programs that play for ever would grow until the disk is full.
[[nodiscard]] std::uint64_t lastFrame(const Timeline& timeline, unsigned rate);

}  // namespace cabinaudio::tool::scenario
