// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::tool {

/// Checks, without blocking, whether a server listens on the server's socket. Use it only to
/// diagnose a failed client: the server sees a connection that comes and goes. The first failure of
/// this process is logged with the socket's name and the system's error.
[[nodiscard]] bool serverListens();

/// "no server ..." with a remedy.
[[nodiscard]] std::string noServerText();

}  // namespace cabinaudio::tool
