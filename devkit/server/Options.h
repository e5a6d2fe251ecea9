// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/Log.h"
#include "devkit/server/clients/Admission.h"
#include "devkit/server/inputs/InputChoice.h"
#include "devkit/server/outputs/Output.h"
#include "devkit/server/time/TimeOptions.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace cabinaudio::server {

/// Values of the command line's options.
struct Options {
    std::string output = "auto";  // kind[:argument], see OutputFactory.h
    OutputFormat format;
    TimeOptions time;
    std::uint32_t ringPeriods = 8;
    std::chrono::milliseconds ringDelay{0};
    InputChoice inputs;
    /// From an uplink's start to the announcement of its ring. Empty: announced on command only.
    std::optional<std::chrono::milliseconds> uplinkDelay = std::chrono::milliseconds(0);
    std::string stemDirectory;
    std::string reportFile;
    std::string stateFile;  // empty: settings are not kept
    bool isTraced = false;
    std::string traceFile;  // empty: nothing is recorded
    bool isSoundTraced = false;
    std::string instance;  // empty: as in the environment
    AllowedUsers allowed;
    int readyFd = -1;
    log::Level logLevel = log::Level::Info;
};

/// @return the options, or the exit status when the program must end at once: help or version was
///         printed, or a one-line hint about an error
std::variant<Options, int> parseOptions(int argc, const char* const* argv);

}  // namespace cabinaudio::server
