// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Scenario.h"

#include <istream>
#include <string>
#include <vector>

namespace cabinaudio::tool::scenario {

/// A file's scenario, or all its errors.
struct Reading {
    Scenario scenario;
    std::vector<std::string> faults;  // "FILE:12: ...", by line; then the scenario is incomplete
};

/// Reads a scenario; errors do not end the reading.
/// @param file  the name for messages
[[nodiscard]] Reading readScenario(std::istream& lines, const std::string& file);

/// @throws Failure when the file cannot be read
[[nodiscard]] Reading readScenario(const std::string& file);

}  // namespace cabinaudio::tool::scenario
