// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Outcome.h"
#include "tools/scenario/Scenario.h"

#include <string>
#include <vector>

namespace cabinaudio::tool::scenario {

/// The result of one expectation, or of the run itself.
struct Judgement {
    unsigned line = 0;  // of the file; 0: none
    std::string text;   // the expectation as written
    bool isMet = false;
    std::string detail;  // measured and required, for people
};

/// Judges a run: its expectations by line, then its time, which must have no other errors, and the
/// reason of an early end if there was one. Draws a picture of each part with sound if something is
/// not met.
/// @throws Failure when a file of the run cannot be read
[[nodiscard]] std::vector<Judgement> judgeRun(const Scenario& scenario, const Outcome& outcome);

[[nodiscard]] bool areAllMet(const std::vector<Judgement>& judgements);

}  // namespace cabinaudio::tool::scenario
