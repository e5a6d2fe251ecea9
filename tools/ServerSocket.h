// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::tool {

/// Looks, without waiting, whether somebody listens on the server's socket. For finding out why a
/// client could not connect: the server sees a connection that comes and goes.
[[nodiscard]] bool serverListens();

/// "no server ..." with the cure.
[[nodiscard]] std::string noServerText();

}  // namespace cabinaudio::tool
