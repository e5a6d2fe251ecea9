// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"

#include <chrono>
#include <string>

namespace cabinaudio::tool {

/// A command to a running development server.
struct ServerOptions {
    /// Form of a good answer.
    enum class Answer { Ok, State, Time };

    std::string command;  // as sent to the server, without the line end
    Answer answer = Answer::Ok;
    std::chrono::milliseconds timeout{5000};
    /// Instead of `timeout`, for commands that are answered when they are done. The server bounds
    /// each of its waits.
    std::chrono::milliseconds longTimeout{600000};
    bool isLong = false;
};

/// Sends the command to the server. Prints only the server's state or time.
[[nodiscard]] ExitCode run(const ServerOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
