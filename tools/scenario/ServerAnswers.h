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
    std::string waitingFor;  // names with their reasons, for people
};

/// @throws Failure when the text is no such answer
[[nodiscard]] TimeState timeState(const std::string& answer);

enum class StreamState { Absent, Playing, Finished };

/// @param answer  to `state`
/// @throws Failure when the text is no such answer
[[nodiscard]] StreamState streamState(const std::string& answer, const std::string& stream);

/// The report that a server writes at its end, as far as a scenario uses it.
struct ServerReport {
    std::vector<TimeError> errors;           // their part is 0
    std::optional<std::uint64_t> lastFrame;  // of the output, behind the stream's last sound
};

/// @param stream  whose end is wanted; empty: of none
/// @throws Failure when there is no such report
[[nodiscard]] ServerReport serverReport(const std::string& file, const std::string& stream);

}  // namespace cabinaudio::tool::scenario
