// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// Name of a library status such as "AUDIO_TIMED_OUT"; empty for a number that is the server's own.
[[nodiscard]] std::string statusName(std::int32_t status);

/// The name and the number, or the number alone: for people.
[[nodiscard]] std::string statusText(std::int32_t status);

/// Name of a tag, or its number when it has none.
[[nodiscard]] std::string tagText(AudioTagType tag);

/// The tag names of what can be played and of what can be recorded, preferred one first.
[[nodiscard]] const std::vector<std::string>& playbackTagNames();
[[nodiscard]] const std::vector<std::string>& captureTagNames();

}  // namespace cabinaudio::tool
