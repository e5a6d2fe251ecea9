// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace cabinaudio::board {

/// Name of an abstract socket to wait for, see Board.h.
enum class AwaitedSocket { Clients, Control };

/// Waits until a server listens. An abstract socket is no file that could be watched, and the
/// kernel reports no bind(), so the wait tries to connect again and again, with short pauses. Only
/// the last attempt reaches a server.
///
/// @param instance  of the server; "" where the stand-in in this process maps the names, and for
///                  the common instance
/// @return whether a server listens; false once `bound` has passed
bool waitForServer(const std::string& instance, AwaitedSocket awaited,
                   std::chrono::milliseconds bound);

}  // namespace cabinaudio::board
