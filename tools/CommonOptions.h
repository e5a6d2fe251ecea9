// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace cabinaudio::tool {

/// Options that every sub-command has.
struct CommonOptions {
    std::string instance;  // empty: from the environment, or the common instance
    bool board = true;     // whether the launcher may be used
    bool json = false;
    bool verbose = false;
    std::chrono::milliseconds wait{0};  // for a server to listen, before the command begins
    std::string logFile;                // empty: no file
};

}  // namespace cabinaudio::tool
