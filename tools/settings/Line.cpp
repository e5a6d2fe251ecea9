// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Line.h"

#include "tools/Json.h"

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
    return {{"name", named.name},
            {"value", valueJson(type, value)},
            {"unit", isSteps ? Json("step") : orNull(std::string(type.unit))},
            {"settable", isSettable(*named.setting, value)},
            {"text", valueText(type, value)}};
}

std::string onlySetText(const Named& named) {
    return named.name + " can only be set: servers have no operation that tells it";
}

}  // namespace cabinaudio::tool
