// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/trace/Names.h"
#include "wire/Settings.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Texts in requests and replies, and the values they name.
namespace cabinaudio::server {

using trace::textOf;
/// Copies a text into a zeroed field, cut so that a terminator remains.
void put(std::string_view text, wire::Name& name);

/// The playback tag with this name; empty when unknown.
[[nodiscard]] std::optional<AudioTagType> playbackTagOf(const std::string& text);
/// The capture tag with this name; empty when unknown.
[[nodiscard]] std::optional<AudioTagType> captureTagOf(const std::string& text);
/// Whether playback or capture streams of this tag can have effects.
[[nodiscard]] bool hasPlaybackEffects(const std::string& tag);
[[nodiscard]] bool hasCaptureEffects(const std::string& tag);
/// Whether a track of this tag can have a volume of its own.
[[nodiscard]] bool isTrackTag(const std::string& text);
[[nodiscard]] bool isStreamType(const std::string& text);

using trace::ALL_LOUDSPEAKERS;
using trace::ALL_PATHS;
using trace::loudspeakerNames;
using trace::pathNames;

/// Whether `mask` is a non-empty mask of loudspeakers (audio_channel_idx_e).
[[nodiscard]] bool isLoudspeakers(std::uint32_t mask);
/// The number of the one loudspeaker in a mask; empty for none or several.
[[nodiscard]] std::optional<std::size_t> loudspeakerOf(std::uint32_t mask);

/// Whether `mask` is a non-empty mask of paths (audio_out_path_id_e).
[[nodiscard]] bool isPaths(std::uint32_t mask);

}  // namespace cabinaudio::server
