// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Scenario.h"

#include <string>

/// The parts of a scenario's lines that the server takes.
namespace cabinaudio::tool::scenario {

/// @return why this option of cabinaudio-server does not belong into a scenario; empty if it does
[[nodiscard]] std::string optionFault(const std::string& option);

/// Takes over options that concern the scenario too: --patience and --rate. @return a fault or ""
[[nodiscard]] std::string takeOptions(const Words& options, Scenario& scenario);

/// Where the option stands that the server's message is about, as "FILE:LINE: ". Names several
/// lines if the message does not tell which one; empty if the file has no option.
[[nodiscard]] std::string optionPlace(const Scenario& scenario, const std::string& message);

/// Whether these words begin a command of the server's control socket that may stand at a time.
[[nodiscard]] bool isServerCommand(const Words& words);

/// @return what is wrong with the arguments of such a command; empty if nothing is
[[nodiscard]] std::string commandFault(const Words& words);

/// The commands, for messages.
[[nodiscard]] std::string serverCommands();

/// The command as one line.
[[nodiscard]] std::string commandText(const Words& words);

}  // namespace cabinaudio::tool::scenario
