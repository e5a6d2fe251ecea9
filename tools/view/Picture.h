// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/view/Canvas.h"
#include "tools/view/Snapshot.h"

namespace cabinaudio::tool::view {

inline constexpr double PICTURE_WIDTH = 1040;
inline constexpr double PICTURE_HEIGHT = 600;

/// The cabin from above with its loudspeakers' levels, the fade and balance point, the streams,
/// the volumes and the spectrum.
/// @param live  the development server's levels and streams; null of another server
void drawCabin(Canvas& canvas, const Snapshot& snapshot, const Json& live, bool isDark);

}  // namespace cabinaudio::tool::view
