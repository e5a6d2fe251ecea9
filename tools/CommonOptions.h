// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::tool {

/// Options that every sub-command has.
struct CommonOptions {
    std::string instance;  // empty: the environment's, or the common one
    bool board = true;     // may run through the launcher
    bool json = false;
    bool verbose = false;
    std::string logFile;  // empty: no file
};

}  // namespace cabinaudio::tool
