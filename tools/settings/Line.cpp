// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Line.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/Json.h"
#include "tools/Names.h"

#include <stdexcept>

namespace cabinaudio::tool {

bool isSettable(const Setting& setting, const Value& value) {
    if (!setting.set) return false;
    try {
        // A server may report values that it does not accept.
        (void)parsedValue(setting.type, valueText(setting.type, value));
    } catch (const std::invalid_argument&) {
        return false;
    }
    return true;
}

std::string lineOf(const Named& named, const Value& value) {
    // Printed as one word: xargs splits lines at blanks.
    return (isSettable(*named.setting, value) ? "" : "#") + named.name + "=" +
           valueText(named.setting->type, value);
}

Json jsonOf(const Named& named, const Value& value) {
    const Type& type = named.setting->type;
    const bool isSteps = std::holds_alternative<Steps>(value);
    Json json = {{"name", named.name},
                 {"value", valueJson(type, value)},
                 {"unit", isSteps ? Json("step") : orNull(std::string(type.unit))}};
    if (type.kind == Kind::Meter) json["value_db"] = levelsInDb(type, value);
    json["settable"] = isSettable(*named.setting, value);
    json["text"] = valueText(type, value);
    return json;
}

bool hasNoPosition(const Named& named, std::int32_t status) {
    return named.setting->partner != nullptr && status == AUDIO_INVALID_STATE;
}

std::string unreadableText(const Named& named, std::int32_t status) {
    std::string why = statusText(status);
    if (hasNoPosition(named, status))
        why = "the loudspeakers' volumes are of no fade and balance";
    else if (status == AUDIO_INVALID_OPERATION)
        why = "this server does not have it";
    return "cannot read " + named.name + ": " + why;
}

std::string refusalText(std::int32_t status) {
    if (status == AUDIO_INVALID_OPERATION) return "this server does not have it";
    return "the server refused it: " + statusText(status);
}

std::string onlySetText(const Named& named) {
    return named.name + " can only be set: servers have no operation that tells it";
}

}  // namespace cabinaudio::tool
