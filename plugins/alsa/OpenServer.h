// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace cabinaudio::alsa {

/// Prepares the process for the library and looks for the server.
/// @param instance  of the server; empty: that of the environment
/// @param wait      how long to wait for a server
/// @return 0; with a message -EBUSY (wrong process), -EINVAL or -ENOTSUP (wrong instance), or
///         -ECONNREFUSED (no server)
int findServer(const std::string& instance, std::chrono::milliseconds wait);

}  // namespace cabinaudio::alsa
