// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <gst/audio/audio.h>

#include <array>

namespace cabinaudio::gstreamer {

inline constexpr int MOST_CHANNELS = 6;

/// Linear sound as streams have it, for a pad template of either direction. Channels may have no
/// positions; they are then in the order of the server. The caller releases the caps.
[[nodiscard]] GstCaps* streamCaps();

/// The element's one pad, "sink" or "src". Takes the caps.
void addPadTemplate(GstElementClass* elementClass, GstPadDirection direction, GstCaps* caps);

/// The format of a stream for sound of these caps.
[[nodiscard]] AudioFormatDesc streamFormat(const GstAudioInfo& info);

/// Positions in the order of the server, with side channels where the caps have those instead of
/// rear channels. To be set for the ring buffer if isReordered().
[[nodiscard]] std::array<GstAudioChannelPosition, 64> serverPositions(const GstAudioInfo& info);

/// Whether the channels have positions, which GStreamer and the server may order differently.
[[nodiscard]] bool isReordered(const GstAudioInfo& info);

}  // namespace cabinaudio::gstreamer
