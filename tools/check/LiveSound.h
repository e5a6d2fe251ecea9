// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Sound.h"
#include "tools/check/CheckCommand.h"

#include <string>
#include <vector>

namespace cabinaudio::tool {

/// Listens to a running development server for the time that the checks need. Time without any
/// stream has no frames. If the sound stops before, what was heard until then.
/// @throws Failure without a server, without any sound, and after an interruption
[[nodiscard]] hear::Sound listenTo(const CheckOptions& options,
                                   const std::vector<std::string>& checks);

}  // namespace cabinaudio::tool
