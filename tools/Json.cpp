// SPDX-License-Identifier: Apache-2.0
#include "tools/Json.h"

#include "devkit/text/Output.h"
#include "devkit/text/Printable.h"

#include <cmath>

namespace cabinaudio::tool {

Json orNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

Json orNull(const std::optional<double>& ms) {
    return ms ? Json(roundedMs(*ms)) : Json(nullptr);
}

double roundedMs(double ms) {
    return std::round(ms * 1000) / 1000;
}

void printJson(const Json& value) {
    // File names are bytes; a name that is not UTF-8 must not make the whole report fail.
    const std::string line =
        text::printableJson(value.dump(-1, ' ', false, Json::error_handler_t::replace)) + "\n";
    text::print(line);
}

}  // namespace cabinaudio::tool
