// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plugins/gstreamer/Sink.h"

#include <gst/audio/gstaudioringbuffer.h>

namespace cabinaudio::gstreamer {

/// The ring buffer that GStreamer's base class of sinks asks for. It has no memory of its own: its
/// operations are those of the sink, which outlives it. The caller owns the floating reference.
[[nodiscard]] GstAudioRingBuffer* newSinkRing(Sink& sink);

}  // namespace cabinaudio::gstreamer
