// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Judgement.h"
#include "tools/scenario/ResultDirectory.h"

#include <string>
#include <vector>

namespace cabinaudio::tool::scenario {

/// Writes a suite with a case for each judgement, as continuous integration reads it.
/// @throws Failure when the file cannot be written
void writeJUnit(const std::string& file, const Scenario& scenario, const Outcome& outcome,
                const std::vector<Judgement>& judgements, const ResultDirectory& directory);

}  // namespace cabinaudio::tool::scenario
