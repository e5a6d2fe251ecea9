// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Outcome.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What this program needs of the server's JSON.
namespace cabinaudio::tool::scenario {

/// The answer to `time`.
struct TimeState {
    std::string state;
    std::uint64_t frame = 0;
    std::string waitingFor;         // names with their reasons, for people
    std::vector<TimeError> errors;  // their part is 0
};

/// @throws Failure when the text is no such answer
[[nodiscard]] TimeState timeState(const std::string& answer);

enum class StreamState { Absent, Playing, Finished };

/// @param answer  to `state`
/// @throws Failure when the text is no such answer
[[nodiscard]] StreamState streamState(const std::string& answer, const std::string& stream);

/// @param file    the report of a server
/// @return the frame of the output behind the stream's last sound; empty if it was not heard
/// @throws Failure when there is no such report
[[nodiscard]] std::optional<std::uint64_t> lastFrameOf(const std::string& file,
                                                       const std::string& stream);

}  // namespace cabinaudio::tool::scenario
