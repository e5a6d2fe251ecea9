// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"
#include "tools/StandardDescriptors.h"

#include <chrono>

namespace cabinaudio::tool {

struct DoctorOptions {
    std::chrono::milliseconds timeout{2000};  // for the server's answer
    ClosedDescriptors closedDescriptors;      // as inherited from the user's shell
};

/// Checks everything that playing needs; prints one line per check, with a remedy if it failed.
/// @return Done when all checks pass, else Failed
[[nodiscard]] ExitCode run(const DoctorOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
