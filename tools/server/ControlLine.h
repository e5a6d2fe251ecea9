// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace cabinaudio::tool {

/// The server's answer to a command that it has carried out.
inline constexpr char SERVER_DONE[] = "ok";

/// What to do about a command that the server has carried out.
enum class Then { Return, AwaitItsEnd };

/// Sends one line to the development server's control socket. @return its answer, one line
/// @throws Failure  with ExitCode::NoServer when nobody listens there, with ExitCode::TimedOut when
///                  there is no answer, or no end of the server, in time
[[nodiscard]] std::string askServer(const std::string& line, std::chrono::milliseconds bound,
                                    Then then = Then::Return);

}  // namespace cabinaudio::tool
