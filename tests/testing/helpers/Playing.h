// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kit {

constexpr unsigned RATE = 48000;

/// Frames of a sine in stereo. @param amplitude  of full scale
[[nodiscard]] std::vector<std::int16_t> tone(double hz, double seconds, double amplitude = 0.25);

/// Plays stereo frames of 16 bits from the first to the last. @return "" or what failed
[[nodiscard]] std::string play(const char* name, std::vector<std::int16_t> samples,
                               AudioTagType tag = AUDIO_TAG_AUXILIARY, int type = 1);

}  // namespace kit
