// SPDX-License-Identifier: Apache-2.0
#include "tools/view/SettingJson.h"

#include "devkit/text/Escape.h"

#include <iterator>
#include <stdexcept>

namespace cabinaudio::tool::view {

namespace {

constexpr double WIDEST_RANGE = 1e9;  // wider ones are of the number's type

bool isNumeric(const Type& type) {
    return type.kind == Kind::Gain || type.kind == Kind::Real || type.kind == Kind::Integer;
}

Json choicesOf(const Type& type) {
    Json choices = Json::array();
    for (const auto& [word, number] : type.words)
        choices.push_back(word);
    if (type.kind == Kind::Loudspeakers)
        choices = Json(std::vector<std::string>(std::begin(LOUDSPEAKERS), std::end(LOUDSPEAKERS)));
    return choices.empty() ? Json(nullptr) : choices;
}

/// One number, switch or word as users write it.
std::string textOf(const Type& type, const Json& json) {
    if (json.is_boolean()) return json.get<bool>() ? "on" : "off";
    if (json.is_number()) return json.dump() + (type.kind == Kind::Gain ? type.unit : "");
    if (!json.is_string())
        throw std::invalid_argument("must be a number, a text, true, false or a list of these");
    const auto text = json.get<std::string>();
    return type.kind == Kind::Text ? text::escaped(text) : text;
}

}  // namespace

Json descriptionOf(const Setting& setting) {
    const Type& type = setting.type;
    const bool hasRange = isNumeric(type) && type.low <= type.high && type.high < WIDEST_RANGE;
    return {{"type", kindName(type.kind)},
            {"count", type.kind == Kind::Bytes ? 1 : type.count},
            {"unit", orNull(std::string(type.unit))},
            {"minimum", hasRange ? Json(type.low) : Json(nullptr)},
            {"maximum", hasRange ? Json(type.high) : Json(nullptr)},
            {"choices", choicesOf(type)},
            {"readable", static_cast<bool>(setting.get)},
            {"writable", static_cast<bool>(setting.set)},
            {"description", setting.what}};
}

Value valueOfJson(const Type& type, const Json& json) {
    if (!json.is_array()) return parsedValue(type, textOf(type, json));
    std::string all;
    for (const Json& part : json)
        all += (all.empty() ? "" : ",") + textOf(type, part);
    return parsedValue(type, all);
}

}  // namespace cabinaudio::tool::view
