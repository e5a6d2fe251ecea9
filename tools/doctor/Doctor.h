// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"
#include "tools/StandardDescriptors.h"

#include <chrono>

namespace cabinaudio::tool {

struct DoctorOptions {
    std::chrono::milliseconds timeout{2000};  // for the server's answer
    ClosedDescriptors closedDescriptors;      // as the user's shell left them
};

/// Looks at everything that playing needs and prints one line each, with the cure.
/// @return Done when all is well, else Failed
[[nodiscard]] ExitCode run(const DoctorOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
