// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/control/GainsJson.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <string>

namespace cabinaudio::server {
namespace {

using nlohmann::json;

}  // namespace

json textOrNull(const std::string& text) {
    return text.empty() ? json() : json(text);
}

json decibels(float amplitude, double parts) {
    if (amplitude < 4e-10F) return nullptr;
    return std::round(20.0 * std::log10(double{amplitude}) * parts) / parts +
           0.0;  // no negative zero
}

json peakOf(float amplitude) {
    return decibels(amplitude, 10.0);
}

json describeGains(const std::vector<GainLink>& chain) {
    json result = json::array();
    for (const GainLink& link : chain) {
        result.push_back({{"stage", link.stage},
                          {"setting", textOrNull(link.setting)},
                          {"db", decibels(link.factor, 100.0)},
                          {"muted", link.isMuted},
                          {"by", textOrNull(link.cause)}});
    }
    return result;
}

}  // namespace cabinaudio::server
