// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Happening.h"

#include <nlohmann/json.hpp>

namespace cabinaudio::trace {

/// One object with everything that is known: operation and fields by name, with units. Texts may
/// contain any bytes.
[[nodiscard]] nlohmann::ordered_json jsonOf(const Happening& happening);

}  // namespace cabinaudio::trace
