// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"

#include <string>

namespace cabinaudio::tool {

/// The development server's time for display: a line about its position, then one for each stream
/// that it waits for and for each error. Missing values are left out. No line end.
[[nodiscard]] std::string timeText(const Json& time);

}  // namespace cabinaudio::tool
