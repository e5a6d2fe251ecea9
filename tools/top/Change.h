// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/top/Keys.h"

#include <chrono>
#include <string>

namespace cabinaudio::tool::top {

// Both run in a child process, so that a server that hangs stops the screen no longer than the
// bound, and nothing writes to the terminal. They return a line for the user. Call only while the
// process has one thread.
[[nodiscard]] std::string perform(const SettingChange& change, std::chrono::milliseconds bound);
[[nodiscard]] std::string perform(const ServerCommand& command, std::chrono::milliseconds bound);

}  // namespace cabinaudio::tool::top
