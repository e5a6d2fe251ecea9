// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Locations.h"
#include "tools/scenario/Scenario.h"
#include "tools/scenario/Wait.h"

#include <string>

namespace cabinaudio::tool::scenario {

/// Runs `cabinaudio set` against the scenario's server.
/// @param file  of the scenario, for messages
/// @param log   gets what the command prints
/// @throws Failure with the command's own text; with ExitCode::Usage when it does not know a
///         setting or a value
void changeSettings(const SetCommand& set, const std::string& file, const Locations& locations,
                    const std::string& instance, const std::string& log, const Wait& wait);

}  // namespace cabinaudio::tool::scenario
