// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"

#include <chrono>

namespace cabinaudio::tool {

struct VersionOptions {
    std::chrono::milliseconds timeout{2000};  // for the server's answer
};

/// Prints the versions of library and server side by side.
[[nodiscard]] ExitCode run(const VersionOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
