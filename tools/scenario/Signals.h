// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace cabinaudio::tool::scenario {

/// @param text  "USR1", "SIGUSR1" or "10"
[[nodiscard]] std::optional<int> signalNumber(const std::string& text);

/// "SIGUSR1"
[[nodiscard]] std::string signalName(int signal);

/// How a program ended: "status 0" or "SIGKILL".
[[nodiscard]] std::string endText(int waitStatus);

}  // namespace cabinaudio::tool::scenario
