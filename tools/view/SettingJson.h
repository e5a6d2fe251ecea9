// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"
#include "tools/settings/Directory.h"

namespace cabinaudio::tool::view {

/// {"type", "count", "unit", "minimum", "maximum", "choices", "readable", "writable",
/// "description"}. Numbers without a range have null limits.
[[nodiscard]] Json descriptionOf(const Setting& setting);

/// A value in the form of valueJson(); a number of a gain is in dB.
/// @throws std::invalid_argument with a text that completes "volume.master: ..."
[[nodiscard]] Value valueOfJson(const Type& type, const Json& json);

}  // namespace cabinaudio::tool::view
