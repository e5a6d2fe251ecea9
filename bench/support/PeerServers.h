// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/Daemon.h"

#include <string>

// Servers of other systems, without a sound card, each with a socket in its own directory.

namespace cabinaudio::bench {

/// With a sink that plays nothing.
/// @param sinkArguments  of module-null-sink
Daemon::Start pulseServer(const std::string& directory, const std::string& sinkArguments = {});
/// Address for the server's clients.
std::string pulseAddress(const std::string& directory);

/// With a sink that plays nothing. Its clients need PIPEWIRE_RUNTIME_DIR set to the directory.
/// @param modules  lines of further modules
Daemon::Start pipeWireServer(const std::string& directory, const std::string& modules = {});
/// Links streams to the sink: a session manager without devices and without a bus, for a server
/// with the module PIPEWIRE_SESSION.
Daemon::Start pipeWireSession(const std::string& directory);
inline constexpr char PIPEWIRE_SESSION[] = "{ name = libpipewire-module-session-manager }\n";
inline constexpr char PIPEWIRE_CORE[] = "cabinaudio-bench";

/// A message bus without services.
Daemon::Start busServer(const std::string& directory);
std::string busAddress(const std::string& directory);

/// With a device that plays nothing.
Daemon::Start jackServer(const std::string& directory, const std::string& name);

}  // namespace cabinaudio::bench
