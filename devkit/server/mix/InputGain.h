// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/settings/VolumeSettings.h"

#include <cstddef>

namespace cabinaudio::server {

/// What the settings multiply a channel of what is recorded with: the amplifiers of the microphone
/// input behind the tag (of even channels the left one's, of odd ones the right one's), for an
/// uplink the uplink's gain, too.
[[nodiscard]] float inputGainOf(AudioTagType tag, std::size_t channel,
                                const VolumeSettings& volume);

}  // namespace cabinaudio::server
