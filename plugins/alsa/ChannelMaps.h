// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <alsa/asoundlib.h>

namespace cabinaudio::alsa {

inline constexpr unsigned MOST_CHANNELS = 6;

/// All maps that a stream takes, in the order of the server: front, surround, centre, low. The
/// caller frees it as ALSA's interface says; null without memory.
[[nodiscard]] snd_pcm_chmap_query_t** allChannelMaps() noexcept;

/// The map of so many channels; as above.
[[nodiscard]] snd_pcm_chmap_t* channelMap(unsigned channels) noexcept;

}  // namespace cabinaudio::alsa
