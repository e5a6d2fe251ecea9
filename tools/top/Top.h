// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::tool {

struct TopOptions {
    bool once = false;  // one table, as text
    std::chrono::milliseconds interval{500};
    std::optional<std::uint64_t> count;       // of tables; empty: until interrupted
    std::chrono::milliseconds timeout{5000};  // for each of the server's answers
};

/// @return why these options conflict; empty when they do not
[[nodiscard]] std::string optionFault(const TopOptions& options, const CommonOptions& common);

/// Shows the development server's streams, levels and load, on the whole terminal or as lines.
[[nodiscard]] ExitCode run(const TopOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
