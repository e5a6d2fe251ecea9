// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"
#include "tools/play/SoundReader.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::tool {

struct PlayOptions {
    std::vector<std::string> files;  // "-" is standard input
    std::optional<RawFormat> raw;    // of files without a header
    AudioTagType tag = AUDIO_TAG_ALTERNATIVE;
    std::string name;  // of the stream; empty: a generated, unique name
    bool block = true;
    std::optional<float> keyShift;
    int streamParam = 0;
    std::chrono::milliseconds timeout{5000};  // for each wait without progress
};

/// @return why these options conflict; empty when they do not
[[nodiscard]] std::string optionFault(const PlayOptions& options);

/// Plays the files one after another; stops at the first one that does not reach its end.
[[nodiscard]] ExitCode run(const PlayOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
