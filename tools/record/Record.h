// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"
#include "tools/record/RecordFormat.h"

#include <chrono>
#include <optional>
#include <string>

namespace cabinaudio::tool {

struct RecordOptions {
    std::string file;  // "-" is standard output
    AudioTagType tag = AUDIO_TAG_INPUT0;
    RecordFormat format;
    bool raw = false;               // store the stream's bytes unchanged
    std::optional<double> seconds;  // empty: until interrupted
    std::string name;               // of the stream; empty: a generated, unique name
    bool block = true;
    std::optional<int> volume;  // 0 to 100
    int streamParam = 0;
    std::chrono::milliseconds timeout{5000};  // for each wait without progress
};

/// @return why these options conflict; empty when they do not
[[nodiscard]] std::string optionFault(const RecordOptions& options, const CommonOptions& common);

/// Records until the time is over or the user interrupts.
[[nodiscard]] ExitCode run(const RecordOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
