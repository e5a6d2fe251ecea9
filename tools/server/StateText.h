// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"

#include <string>

namespace cabinaudio::tool {

/// The development server's state for people: a line about its output, and a table of its streams.
/// What a state does not hold is shown as "-". Without a line end.
[[nodiscard]] std::string stateText(const Json& state);

}  // namespace cabinaudio::tool
