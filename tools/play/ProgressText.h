// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/play/PlayReport.h"

#include <cstddef>
#include <string>

namespace cabinaudio::tool {

/// A bar with played and total time and the queued amount, at most `width` columns of ASCII.
[[nodiscard]] std::string progressText(const PlayReport& report, std::size_t width);

}  // namespace cabinaudio::tool
