// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"
#include "tools/settings/Directory.h"

#include <optional>

namespace cabinaudio::tool {

/// Whether the development server's document of settings holds this setting's value.
[[nodiscard]] bool isFed(const Setting& setting);

/// The value of a setting for which isFed() holds, as the library would read it.
/// @param document  "settings" of the server's state
/// @return empty when the setting has no value at present
/// @throws Json::exception when the document is not that of this version
[[nodiscard]] std::optional<Value> fedValue(const Json& document, const Named& named);

/// The names of the streams in the document, and these types.
/// @throws Json::exception when the document is not that of this version
[[nodiscard]] LiveNames fedNames(const Json& document, const Texts& types);

}  // namespace cabinaudio::tool
