// SPDX-License-Identifier: Apache-2.0
#include "tools/Json.h"

#include <cstdio>
#include <string>

namespace cabinaudio::tool {

void printJson(const Json& value) {
    // File names are bytes; those that are no UTF-8 must not cost the user the whole report.
    const std::string line = value.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    std::fputs(line.c_str(), stdout);
    std::fflush(stdout);
}

}  // namespace cabinaudio::tool
