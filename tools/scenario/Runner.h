// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Interruption.h"
#include "tools/scenario/Locations.h"
#include "tools/scenario/Outcome.h"
#include "tools/scenario/ResultDirectory.h"
#include "tools/scenario/Scenario.h"

namespace cabinaudio::tool::scenario {

/// Runs a scenario: its servers, one after the other, and its programs. Every wait ends after the
/// scenario's patience without progress, and with the user's interruption.
/// @return what it has left, also when it did not come to its end: then there is a problem
/// @throws Interrupted, and Failure with ExitCode::Usage for an error of the file that is found
/// only
///         now; the programs are asked to end before
[[nodiscard]] Outcome runScenario(const Scenario& scenario, const Locations& locations,
                                  const ResultDirectory& directory,
                                  const Interruption& interruption);

}  // namespace cabinaudio::tool::scenario
