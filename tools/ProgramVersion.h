// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::tool {

/// The program's version, and the libraries behind what it can do. Needs no server.
[[nodiscard]] std::string programVersion();

}  // namespace cabinaudio::tool
