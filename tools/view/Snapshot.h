// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::tool::view {

/// A setting as the page gets it.
// NOLINTNEXTLINE(bugprone-exception-escape): the JSON type asserts in its move
struct ShownSetting {
    Json description;  // "type", "unit" ...
    Json value;        // null: there is none at present, or it cannot be read
};
using ShownSettings = std::map<std::string, ShownSetting>;

/// A request that the server has answered.
struct AnsweredRequest {
    std::uint64_t number = 0;  // of the server's requests
    Json json;
};

/// The server's levels and streams at one time.
struct Live {
    std::uint64_t number = 0;               // counts the states of the server
    std::string members;                    // of the JSON object, without braces and requests
    std::vector<AnsweredRequest> requests;  // the newest, oldest first
};

/// All that a page shows. Never changed once it is published, so every event stream can compare it
/// with the snapshot that it sent last.
struct Snapshot {
    std::uint64_t connection = 0;  // counts the connections to a server
    std::string gone;              // why there is no server; empty while there is
    Json cabin;                    // of the first event, without the settings
    std::shared_ptr<const ShownSettings> settings = std::make_shared<const ShownSettings>();
    std::shared_ptr<const Live> live;  // null without a development server
};

}  // namespace cabinaudio::tool::view
