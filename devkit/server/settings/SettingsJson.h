// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/settings/Settings.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace cabinaudio::server {

/// All settings except a running loudspeaker test, in the state file's format. Gains are in dB,
/// effects and other opaque bytes in hexadecimal digits.
nlohmann::json jsonOf(const SettingsData& settings);

/// Applies the values in the document; missing values get their defaults.
/// @return the paths of unknown keys, for example "volume.mastre_db"
/// @throws std::runtime_error naming the value of the wrong kind or out of range
std::vector<std::string> takeJson(const nlohmann::json& json, SettingsData& settings);

}  // namespace cabinaudio::server
