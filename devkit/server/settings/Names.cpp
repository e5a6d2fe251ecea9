// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/settings/Names.h"

#include "devkit/server/settings/StreamTypes.h"

#include <algorithm>
#include <bit>

namespace cabinaudio::server {
void put(std::string_view text, wire::Name& name) {
    name = {};
    text.copy(name.text, sizeof name.text - 1);
}

std::optional<AudioTagType> playbackTagOf(const std::string& text) {
    for (const AudioTagType tag : {AUDIO_TAG_MAIN, AUDIO_TAG_ALTERNATIVE, AUDIO_TAG_AUXILIARY,
                                   AUDIO_TAG_OUTPUT_INVOCATION}) {
        if (text == AudioTypes::getTag(tag)) return tag;
    }
    return std::nullopt;
}

std::optional<AudioTagType> captureTagOf(const std::string& text) {
    for (const AudioTagType tag : {AUDIO_TAG_UPLINK, AUDIO_TAG_INPUT0, AUDIO_TAG_INPUT1,
                                   AUDIO_TAG_INPUT2, AUDIO_TAG_INPUT_FRONT_FEEDBACK}) {
        if (text == AudioTypes::getTag(tag)) return tag;
    }
    return std::nullopt;
}

bool hasPlaybackEffects(const std::string& tag) {
    return tag == "second" || playbackTagOf(tag).has_value();
}

bool hasCaptureEffects(const std::string& tag) {
    return captureTagOf(tag).has_value();
}

bool isTrackTag(const std::string& text) {
    return text == "main" || text == "alternative" || text == "auxiliary";
}

bool isStreamType(const std::string& text) {
    return std::find(STREAM_TYPES.begin(), STREAM_TYPES.end(), text) != STREAM_TYPES.end();
}

bool isLoudspeakers(std::uint32_t mask) {
    return mask != 0 && (mask & ~ALL_LOUDSPEAKERS) == 0;
}

std::optional<std::size_t> loudspeakerOf(std::uint32_t mask) {
    if (!isLoudspeakers(mask) || !std::has_single_bit(mask)) return std::nullopt;
    return static_cast<std::size_t>(std::countr_zero(mask));
}

bool isPaths(std::uint32_t mask) {
    return mask != 0 && (mask & ~ALL_PATHS) == 0;
}

}  // namespace cabinaudio::server
