// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::server {

/// The program's name and version, the compiler, and the libraries with their versions as loaded.
[[nodiscard]] std::string versionText();

}  // namespace cabinaudio::server
