// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::tool::scenario {

/// The file's bytes; empty without the file.
[[nodiscard]] std::string contentsOf(const std::string& file);

/// The last line that is not empty; empty without one.
[[nodiscard]] std::string lastLine(const std::string& file);

}  // namespace cabinaudio::tool::scenario
