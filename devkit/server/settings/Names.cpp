// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/settings/Names.h"

#include "devkit/server/base/Text.h"
#include "devkit/server/settings/StreamTypes.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <span>

namespace cabinaudio::server {
namespace {

// In the order of their bits.
constexpr std::array LOUDSPEAKERS = {"LF", "RF", "LS", "RS", "CF", "L1"};
constexpr std::array PATHS = {"main", "alternative", "second", "auxiliary"};

static_assert(ALL_LOUDSPEAKERS == (1U << LOUDSPEAKERS.size()) - 1);
static_assert(ALL_PATHS == (1U << PATHS.size()) - 1);

std::string namesOf(std::uint32_t mask, std::span<const char* const> names) {
    if (mask >> names.size() != 0) return format("0x%x", mask);
    std::string text;
    for (std::size_t bit = 0; bit < names.size(); ++bit) {
        if ((mask >> bit & 1) == 0) continue;
        if (!text.empty()) text += '+';
        text += names[bit];
    }
    return text.empty() ? "none" : text;
}

}  // namespace

std::string textOf(const wire::Name& name) {
    return {name.text, strnlen(name.text, sizeof name.text)};
}

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

std::string loudspeakerNames(std::uint32_t mask) {
    return namesOf(mask, LOUDSPEAKERS);
}

bool isPaths(std::uint32_t mask) {
    return mask != 0 && (mask & ~ALL_PATHS) == 0;
}

std::string pathNames(std::uint32_t mask) {
    return namesOf(mask, PATHS);
}

}  // namespace cabinaudio::server
