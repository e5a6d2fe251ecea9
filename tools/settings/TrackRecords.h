// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSettingTypes.h>

#include "tools/settings/Value.h"
#include "wire/SettingRecords.h"

#include <string>
#include <vector>

namespace cabinaudio::tool {

/// Decodes the development server's records in its lists; other servers use their own formats.
[[nodiscard]] wire::TrackInfo trackOf(const audio::audio_track_info_t& record);

/// The text of a field, which need not be terminated.
[[nodiscard]] std::string textOf(const wire::Name& name);

/// "main/radio/media/48000/2"
[[nodiscard]] Texts trackTexts(const std::vector<audio::audio_track_info_t>& records);
/// "main/radio/48000/2/16/on"
[[nodiscard]] Texts trackTexts(const std::vector<audio::audio_output_src_parameter_t>& records);

}  // namespace cabinaudio::tool
