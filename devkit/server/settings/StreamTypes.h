// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <array>
#include <cstdint>

namespace cabinaudio::server {

/// The stream type with mixer gains of its own.
constexpr const char* NAVIGATION_TYPE = "navigation";

/// Names of the stream types. A client's stream parameter is the row's number, counted from 1. Any
/// other number selects the type by the stream's tag.
constexpr std::array STREAM_TYPES = {"media", NAVIGATION_TYPE, "call", "voice", "alarm", "system"};

[[nodiscard]] constexpr const char* streamTypeOf(AudioTagType tag, std::int32_t parameter) {
    if (parameter >= 1 && parameter <= static_cast<std::int32_t>(STREAM_TYPES.size()))
        return STREAM_TYPES[static_cast<std::size_t>(parameter) - 1];
    switch (tag) {
        case AUDIO_TAG_ALTERNATIVE:
            return NAVIGATION_TYPE;
        case AUDIO_TAG_AUXILIARY:
            return "system";
        case AUDIO_TAG_MAIN:
            return "media";
        default:
            return "voice";
    }
}

}  // namespace cabinaudio::server
