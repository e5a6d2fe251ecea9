// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// Name of a library status such as "AUDIO_TIMED_OUT"; empty for numbers of the server's own.
[[nodiscard]] std::string statusName(std::int32_t status);

/// For display: the name and the number, or the number alone.
[[nodiscard]] std::string statusText(std::int32_t status);

/// Name of a tag, or its number if it has no name.
[[nodiscard]] std::string tagText(AudioTagType tag);

/// Tag names for playing and for recording, preferred ones first.
[[nodiscard]] const std::vector<std::string>& playbackTagNames();
[[nodiscard]] const std::vector<std::string>& captureTagNames();

}  // namespace cabinaudio::tool
