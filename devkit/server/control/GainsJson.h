// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/mix/GainChain.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace cabinaudio::server {

/// Null for an empty text.
nlohmann::json textOrNull(const std::string& text);

/// An amplitude in dB, to 1 / `parts`: further digits would be noise. Null for silence, and for
/// less than the smallest step of 32 bits.
nlohmann::json decibels(float amplitude, double parts);

/// To a tenth of a dB.
nlohmann::json peakOf(float amplitude);

/// A stream's stages: [{"stage", "setting", "db", "muted", "by"}].
nlohmann::json describeGains(const std::vector<GainLink>& chain);

}  // namespace cabinaudio::server
