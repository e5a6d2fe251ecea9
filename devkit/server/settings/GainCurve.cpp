// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/settings/GainCurve.h"

#include <algorithm>
#include <cmath>

namespace cabinaudio::server::gain {
namespace {

constexpr float STEP_DB = 0.5F;

}  // namespace

float ofStep(std::uint8_t step) {
    return step == 0 ? SILENCE_DB : (static_cast<float>(step) - UNITY_STEP) * STEP_DB;
}

std::uint8_t stepOf(float dB) {
    const float step = std::round(dB / STEP_DB) + UNITY_STEP;
    return static_cast<std::uint8_t>(std::clamp(step, 0.0F, static_cast<float>(MAXIMUM_STEP)));
}

float factorOf(float dB) {
    if (dB <= SILENCE_DB) return 0.0F;
    return dB == 0.0F ? 1.0F : std::pow(10.0F, dB / 20.0F);
}

}  // namespace cabinaudio::server::gain
