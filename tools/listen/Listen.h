// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"

#include <chrono>
#include <optional>
#include <string>

namespace cabinaudio::tool {

struct ListenOptions {
    std::string file;                         // "-" is standard output
    std::string stream;                       // empty: the mix
    std::optional<int> loudspeaker;           // empty: all
    std::string format;                       // of samples; empty: that of the output
    bool raw = false;                         // samples without a header
    std::optional<double> seconds;            // of sound; empty: until interrupted
    std::chrono::milliseconds timeout{5000};  // for the answer, and for the stream to exist
};

/// @return why these options conflict; empty when they do not
[[nodiscard]] std::string optionFault(const ListenOptions& options, const CommonOptions& common);

/// Stores what the development server plays, until the time is over, the stream or the server ends,
/// or the user interrupts.
[[nodiscard]] ExitCode run(const ListenOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
