// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/Daemon.h"

#include <string>

// Servers of other systems, each on a socket in a directory of its own, without a sound card.

namespace cabinaudio::bench {

/// With a sink that plays nothing.
Daemon::Start pulseServer(const std::string& directory);
/// Where its clients find it.
std::string pulseAddress(const std::string& directory);

/// With a sink that plays nothing. Its clients need PIPEWIRE_RUNTIME_DIR with the directory.
Daemon::Start pipeWireServer(const std::string& directory);
inline constexpr char PIPEWIRE_CORE[] = "cabinaudio-bench";

/// A bus of messages, without services.
Daemon::Start busServer(const std::string& directory);
std::string busAddress(const std::string& directory);

/// With a device that plays nothing.
Daemon::Start jackServer(const std::string& directory, const std::string& name);

}  // namespace cabinaudio::bench
