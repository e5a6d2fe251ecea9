// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/SettingRecords.h"

#include <cstdint>
#include <string>

/// Names of values in requests and replies.
namespace cabinaudio::trace {

/// The text of a field, which need not be terminated.
[[nodiscard]] std::string textOf(const wire::Name& name);

inline constexpr std::uint32_t ALL_LOUDSPEAKERS = 0x3F;  // of audio_channel_idx_e
inline constexpr std::uint32_t ALL_PATHS = 0x0F;         // of audio_out_path_id_e

/// "LF", or "LF+RF" for several; the number of an invalid mask.
[[nodiscard]] std::string loudspeakerNames(std::uint32_t mask);
/// "main", or "main+second" for several; the number of an invalid mask.
[[nodiscard]] std::string pathNames(std::uint32_t mask);

}  // namespace cabinaudio::trace
