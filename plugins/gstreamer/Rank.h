// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gst/gst.h>

namespace cabinaudio::gstreamer {

/// Of the elements that a program may choose by rank.
#ifdef CABINAUDIO_GSTREAMER_FIRST
inline constexpr guint RANK = GST_RANK_PRIMARY + 10;
#else
inline constexpr guint RANK = GST_RANK_MARGINAL;
#endif

}  // namespace cabinaudio::gstreamer
