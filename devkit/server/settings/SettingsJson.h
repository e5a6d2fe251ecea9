// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/settings/Settings.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace cabinaudio::server {

/// All settings but a running loudspeaker test, as they stand in the state file. Gains are in dB,
/// effects and other opaque bytes in hexadecimal digits.
nlohmann::json jsonOf(const SettingsData& settings);

/// Takes what is there; what is not is as in a server that has just begun.
/// @return the paths of the keys that are unknown, "volume.mastre_db" for instance
/// @throws std::runtime_error saying which value is none of its kind, or out of range
std::vector<std::string> takeJson(const nlohmann::json& json, SettingsData& settings);

}  // namespace cabinaudio::server
