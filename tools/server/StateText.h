// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"

#include <string>

namespace cabinaudio::tool {

/// The development server's state for display: a line about its output, and a table of its streams.
/// Missing values are shown as "-". No line end.
[[nodiscard]] std::string stateText(const Json& state);

}  // namespace cabinaudio::tool
