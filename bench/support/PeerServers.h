// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/Daemon.h"

#include <string>

// Servers of other systems, without a sound card, each with a socket in its own directory.

namespace cabinaudio::bench {

/// With a sink that plays nothing.
Daemon::Start pulseServer(const std::string& directory);
/// Address for the server's clients.
std::string pulseAddress(const std::string& directory);

/// With a sink that plays nothing. Its clients need PIPEWIRE_RUNTIME_DIR set to the directory.
Daemon::Start pipeWireServer(const std::string& directory);
inline constexpr char PIPEWIRE_CORE[] = "cabinaudio-bench";

/// A message bus without services.
Daemon::Start busServer(const std::string& directory);
std::string busAddress(const std::string& directory);

/// With a device that plays nothing.
Daemon::Start jackServer(const std::string& directory, const std::string& name);

}  // namespace cabinaudio::bench
