// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/settings/SettingsJson.h"

#include "devkit/server/settings/Accepted.h"
#include "devkit/server/settings/JsonFields.h"
#include "devkit/server/settings/Names.h"

#include <stdexcept>

namespace cabinaudio::server {

// In this namespace, so that argument-dependent lookup from the codecs finds them.
namespace json_fields {

template <typename Fields>
void visit(Fields& fields, Is<SettingsData> auto& settings) {
    fields("volume", settings.volume, isAny);
    fields("source", settings.source, isAny);
    fields("app", settings.app, isAny);
    fields("mixer", settings.mixer, isAny);
    fields("capture_effects", settings.captureEffects,
           [](const Effects& all) { return areEffects(all, hasCaptureEffects); });
}

}  // namespace json_fields

nlohmann::json jsonOf(const SettingsData& settings) {
    return json_fields::encode(settings);
}

std::vector<std::string> takeJson(const nlohmann::json& json, SettingsData& settings) {
    json_fields::Reading reading;
    try {
        settings = json_fields::decode<SettingsData>(json, reading);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error((reading.path.empty() ? "the document" : reading.path) + " " +
                                 error.what());
    }
    return reading.unknown;
}

}  // namespace cabinaudio::server
