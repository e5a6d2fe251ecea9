// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/settings/VolumeSettings.h"

#include <cstddef>

namespace cabinaudio::server {

/// Factor that the settings apply to a recorded channel: the amplifiers of the microphone input
/// behind the tag (left for even channels, right for odd ones), for an uplink also the uplink's
/// gain.
[[nodiscard]] float inputGainOf(AudioTagType tag, std::size_t channel,
                                const VolumeSettings& volume);

}  // namespace cabinaudio::server
