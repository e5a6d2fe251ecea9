// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::tool {

/// The versions of the program and of the libraries behind its features. Needs no server.
[[nodiscard]] std::string programVersion();

}  // namespace cabinaudio::tool
