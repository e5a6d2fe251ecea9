// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"
#include "tools/doctor/Check.h"

#include <chrono>
#include <string>

namespace cabinaudio::tool {

/// All that the doctor learns from a server that answers.
struct ServerState {
    Json state = nullptr;           // null when there is none
    std::string why = {};           // there is none
    bool isExpected = false;        // there should be one: the server has a control socket
    std::string instance = {};      // of the option; that of the environment is in effect anyway
    Json settings = Json::array();  // as `get --json` prints them, from any server

    /// "cabinaudio set", for the same server.
    [[nodiscard]] std::string command(const std::string& words) const;
};

/// Asks the development server for its state. Any other server has none.
[[nodiscard]] ServerState readState(std::chrono::milliseconds bound);

/// Reads all settings that the server tells, in a child process: a server may stop answering. Empty
/// when it has not answered within `bound`. Call only while this process has one thread.
[[nodiscard]] Json readSettings(std::chrono::milliseconds bound);

/// The finding of a check that needs the state, when there is none.
[[nodiscard]] Check withoutState(const char* name, const ServerState& server);

}  // namespace cabinaudio::tool
