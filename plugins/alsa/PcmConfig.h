// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "plugins/alsa/ServerConfig.h"

#include <string>

namespace cabinaudio::alsa {

/// Keys of a PCM's definition.
struct PcmConfig : ServerConfig {
    AudioTagType tag = AUDIO_TAG_UNKNOWN;  // unknown: the usual one of the direction
    std::string name;                      // of the stream; empty: one is made up
    int streamParam = 1;

    /// @return 0, or -EINVAL with a message
    int read(snd_config_t* definition, snd_pcm_stream_t direction);
};

}  // namespace cabinaudio::alsa
