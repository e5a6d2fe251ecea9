// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::board {

/// Sockets to check for the server's owner. A server on a board must not see connections that come
/// and go on its clients' socket.
enum class Look { AtControlSocket, AtBothSockets };

/// Looks, without waiting, which user the server runs as: the kernel tells it of the other end of a
/// connection, first of one to the control socket. Whoever has taken the server's name first gets
/// all that clients play, and gives them all that they record.
///
/// @param instance  of the server; "" where the stand-in in this process maps the names, and for
/// the
///                  common instance
/// @return a line of warning, without its end, when that is neither root nor this process's
///         effective user. Empty otherwise, without a server, and when this process or one that it
///         descends from has got the line already
std::string warningOfForeignServer(const std::string& instance, Look look);

/// The same for a connection to the server.
std::string warningOfForeignServer(int connection);

}  // namespace cabinaudio::board
