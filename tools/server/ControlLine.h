// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace cabinaudio::tool {

/// Sends one line to the development server's control socket. @return its answer, one line
/// @throws Failure  with ExitCode::NoServer when nobody listens there, with ExitCode::TimedOut when
///                  there is no answer in time
[[nodiscard]] std::string askServer(const std::string& line, std::chrono::milliseconds bound);

}  // namespace cabinaudio::tool
