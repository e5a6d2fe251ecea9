// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"

#include <chrono>
#include <string>

namespace cabinaudio::tool {

/// A command to a running development server.
struct ServerOptions {
    std::string command;   // as sent to the server, without the line end
    bool isState = false;  // whether the answer is the server's state
    std::chrono::milliseconds timeout{5000};
};

/// Sends the command to the server. Prints only the server's state.
[[nodiscard]] ExitCode run(const ServerOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
