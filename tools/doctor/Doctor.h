// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"
#include "tools/StandardDescriptors.h"

#include <chrono>
#include <string>

namespace cabinaudio::tool {

struct DoctorOptions {
    std::chrono::milliseconds timeout{2000};  // for the server's answer
    ClosedDescriptors closedDescriptors;      // as inherited from the user's shell
    std::string reportFile;                   // empty: none
};

/// Checks everything that playing needs; prints one line per check, with a remedy if it failed.
/// With a report file, packs the findings and all that belongs to them, and lists the content.
/// @return Done when no check fails, else Failed
[[nodiscard]] ExitCode run(const DoctorOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
