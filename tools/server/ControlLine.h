// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace cabinaudio::tool {

/// The server's answer to a successful command.
inline constexpr char SERVER_DONE[] = "ok";

/// How askServer() continues after a successful command.
enum class AfterCommand { Return, WaitForServerEnd };

/// Sends one line to the development server's control socket. @return its answer, one line
/// @throws Failure  with ExitCode::NoServer when no server listens there; with ExitCode::TimedOut
///         when the answer, or the server's end, does not come in time
[[nodiscard]] std::string askServer(const std::string& line, std::chrono::milliseconds bound,
                                    AfterCommand after = AfterCommand::Return);

}  // namespace cabinaudio::tool
