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
    bool raw = false;               // as the stream delivers it
    std::optional<double> seconds;  // none: until it is interrupted
    std::string name;               // of the stream; empty: one that no other process has
    bool block = true;
    std::optional<int> volume;  // 0 to 100
    int streamParam = 0;
    std::chrono::milliseconds timeout{5000};  // for each wait that makes no progress
};

/// @return why these options do not go together; empty when they do
[[nodiscard]] std::string optionFault(const RecordOptions& options, const CommonOptions& common);

/// Records until the time is over or the user ends it.
[[nodiscard]] ExitCode run(const RecordOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
