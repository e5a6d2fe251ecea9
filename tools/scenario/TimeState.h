// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Outcome.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::tool::scenario {

/// The answer to `time`.
struct TimeState {
    std::string state;
    std::uint64_t frame = 0;
    bool isAtLimit = false;         // stands because it was told to
    std::string waitingFor;         // names with their reasons, for people
    std::vector<TimeError> errors;  // their part is 0
};

/// @throws Failure when the text is no such answer
[[nodiscard]] TimeState timeState(const std::string& answer);

}  // namespace cabinaudio::tool::scenario
