// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Judgement.h"
#include "tools/scenario/ResultDirectory.h"

#include <vector>

namespace cabinaudio::tool::scenario {

/// Prints a line for each judgement and, if the results are kept, where they are; or all of it as
/// one JSON object.
void printReport(const Scenario& scenario, const Outcome& outcome,
                 const std::vector<Judgement>& judgements, const ResultDirectory& directory,
                 bool isJson);

}  // namespace cabinaudio::tool::scenario
