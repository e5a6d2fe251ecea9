// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSettingTypes.h>

#include "foundation/Log.h"

#include <cstdint>

class RemoteCall;

namespace cabinaudio::setting {

/// Operations on an effect's parameter block, whose length only the block knows. The request is the
/// id, the two texts, and the block: `size` + 136 bytes. Texts are not null.

/// @retval AUDIO_NO_MEMORY  another request is under way, or the size is beyond all memory
std::int32_t setEffect(RemoteCall& rc, const LogSite& site, std::uint32_t function, const char* tag,
                       const char* effect, const audio::effect_param_t& parameter);

/// Overwrites the block, head included, whenever the server has answered.
std::int32_t getEffect(RemoteCall& rc, const LogSite& site, std::uint32_t function, const char* tag,
                       const char* effect, audio::effect_param_t& parameter);

}  // namespace cabinaudio::setting
