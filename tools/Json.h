// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

namespace cabinaudio::tool {

/// Keys keep their order, so that outputs compare as texts.
using Json = nlohmann::ordered_json;

/// Prints one value as one line on stdout and flushes.
void printJson(const Json& value);

}  // namespace cabinaudio::tool
