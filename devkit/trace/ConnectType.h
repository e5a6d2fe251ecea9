// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>

#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::trace {

/// Whether clients may have this type.
bool isKnown(audio_connect_type type);

/// The stream's tag or the kind of settings; "type N" for unknown types.
std::string connectTypeName(audio_connect_type type);

/// The names of all types.
[[nodiscard]] std::vector<std::string> connectTypeNames();
/// The type with this name; empty if there is none.
[[nodiscard]] std::optional<audio_connect_type> connectTypeOf(const std::string& name);

}  // namespace cabinaudio::trace
