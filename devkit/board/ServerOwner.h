// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace cabinaudio::board {

/// Sockets to check for the server's owner. A server on a board must not see connections that come
/// and go on its clients' socket.
enum class CheckedSockets { ControlOnly, Both };

/// Checks, without blocking, which user the server runs as. The kernel tells the user at the other
/// end of a connection; the control socket is tried first. A process that takes the server's name
/// first receives all that clients play, and provides all that they record.
///
/// @param instance  of the server; "" where the stand-in in this process maps the names, and for
/// the
///                  common instance
/// @return a warning line, without a line end, when the user is neither root nor this process's
///         effective user. Empty otherwise, without a server, and when this process or an ancestor
///         has already got the line
std::string warningOfForeignServer(const std::string& instance, CheckedSockets sockets);

/// The process that listens on a server's socket.
struct ServerProcess {
    uid_t user;
    pid_t process;  // 0 if it is of another name space
};

/// The server's process, found in the same way; empty without a server.
std::optional<ServerProcess> processOfServer(const std::string& instance, CheckedSockets sockets);

/// Like warningOfForeignServer(), for a connection to the server.
std::string warningOfForeignServer(int connection);

}  // namespace cabinaudio::board
