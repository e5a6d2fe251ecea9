// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/Log.h"
#include "devkit/server/clients/Admission.h"
#include "devkit/server/inputs/InputChoice.h"
#include "devkit/server/outputs/Output.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace cabinaudio::server {

/// What the command line says.
struct Options {
    std::string output = "auto";  // kind[:argument], see OutputFactory.h
    OutputFormat format;
    bool isFast = false;
    std::uint32_t ringPeriods = 8;
    std::chrono::milliseconds ringDelay{0};
    InputChoice inputs;
    /// From the start of an uplink to the announcement of its ring; nothing: on command only.
    std::optional<std::chrono::milliseconds> uplinkDelay = std::chrono::milliseconds(0);
    std::string stemDirectory;
    std::string reportFile;
    std::string stateFile;  // empty: settings are not kept
    bool isTraced = false;
    std::string instance;  // empty: as in the environment
    AllowedUsers allowed;
    int readyFd = -1;
    log::Level logLevel = log::Level::Info;
};

/// The options, or the exit status when the program is to end at once: help and version have been
/// printed then, or a one-line hint about what is wrong.
std::variant<Options, int> parseOptions(int argc, const char* const* argv);

}  // namespace cabinaudio::server
