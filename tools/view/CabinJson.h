// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"

#include <string>

namespace cabinaudio::tool::view {

/// The server, as the page names it.
struct ServerFacts {
    bool isDevelopment = false;
    std::string instance;  // empty for the common one
    std::string version;   // empty if unknown
    std::string time;      // "real", "lockstep" ...; empty if unknown
};

/// The event `cabin` without its settings: the server and the parts of the cabin.
[[nodiscard]] Json cabinOf(const ServerFacts& server);

}  // namespace cabinaudio::tool::view
