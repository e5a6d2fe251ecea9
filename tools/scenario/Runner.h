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
/// @return what it has left; a wait that took too long is its problem
/// @throws Failure when it cannot be run, with ExitCode::Usage when the file is the reason
[[nodiscard]] Outcome runScenario(const Scenario& scenario, const Locations& locations,
                                  const ResultDirectory& directory,
                                  const Interruption& interruption);

}  // namespace cabinaudio::tool::scenario
