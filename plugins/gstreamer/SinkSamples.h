// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gst/audio/audio.h>

#include <vector>

namespace cabinaudio::gstreamer {

/// Brings frames into the order of the server's channels, and into as many frames as are to be
/// heard when a pipeline plays faster, slower or backwards: frames are left out or repeated.
///
/// @param outputs    frames to be heard; negative: in reverse
/// @param converted  keeps the result if it is not the data itself
/// @return the frames to be played
[[nodiscard]] const guint8* samplesToPlay(const GstAudioInfo& info, const guint8* data, gint inputs,
                                          gint outputs, std::vector<guint8>& converted);

}  // namespace cabinaudio::gstreamer
