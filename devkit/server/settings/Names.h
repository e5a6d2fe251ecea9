// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "wire/Settings.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Texts in requests and replies, and what they name.
namespace cabinaudio::server {

/// The text of a field; it may fill the field to the last byte.
[[nodiscard]] std::string textOf(const wire::Name& name);
/// Cuts a text to a zeroed field, which keeps a terminator.
void put(std::string_view text, wire::Name& name);

/// The tag of playback streams of this name; nothing when it is unknown.
[[nodiscard]] std::optional<AudioTagType> playbackTagOf(const std::string& text);
/// The same of capture streams.
[[nodiscard]] std::optional<AudioTagType> captureTagOf(const std::string& text);
/// Whether playback or capture streams of this tag can have effects.
[[nodiscard]] bool hasPlaybackEffects(const std::string& tag);
[[nodiscard]] bool hasCaptureEffects(const std::string& tag);
/// Whether a track of this tag can have a volume of its own.
[[nodiscard]] bool isTrackTag(const std::string& text);
[[nodiscard]] bool isStreamType(const std::string& text);

inline constexpr std::uint32_t ALL_LOUDSPEAKERS = 0x3F;  // of audio_channel_idx_e
inline constexpr std::uint32_t ALL_PATHS = 0x0F;         // of audio_out_path_id_e

/// Whether it is a mask of loudspeakers (audio_channel_idx_e), and of one at least.
[[nodiscard]] bool isLoudspeakers(std::uint32_t mask);
/// The number of one loudspeaker; nothing when it is none, or several.
[[nodiscard]] std::optional<std::size_t> loudspeakerOf(std::uint32_t mask);
/// "LF", or "LF+RF" for several.
[[nodiscard]] std::string loudspeakerNames(std::uint32_t mask);

/// Whether it is a mask of paths (audio_out_path_id_e), and of one at least.
[[nodiscard]] bool isPaths(std::uint32_t mask);
/// "main", or "main+second" for several.
[[nodiscard]] std::string pathNames(std::uint32_t mask);

}  // namespace cabinaudio::server
