// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Judge.h"
#include "devkit/hear/Recording.h"

#include <string>
#include <vector>

namespace cabinaudio::hear {

/// Draws waveform, spectrogram and, with a report, the streams below each other over time, into a
/// PNG file. The ranges of checks that are not met are red.
/// @throws Error when the file cannot be written, or this build has no Cairo
void drawPicture(const std::string& path, const Recording& recording,
                 const std::vector<Verdict>& verdicts);

}  // namespace cabinaudio::hear
