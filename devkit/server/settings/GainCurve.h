// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

/// The only mapping between volume steps and gains: a step is half a dB, step 100 is 0 dB, step 148
/// is 24 dB, and step 0 is silence. Ducking, fade and balance use it too, and so do mixer gains,
/// whose steps end at 100.
namespace cabinaudio::server::gain {

constexpr float SILENCE_DB = -103.5F;  // this and lower values are silence
constexpr float MAXIMUM_DB = 24.0F;
constexpr std::uint8_t UNITY_STEP = 100;
constexpr std::uint8_t MAXIMUM_STEP = 148;

/// @param step  0 to 148
[[nodiscard]] float ofStep(std::uint8_t step);
/// The nearest step; 0 for gains more than half a step below step 1.
[[nodiscard]] std::uint8_t stepOf(float dB);
/// Factor for samples; exactly 0 for silence and exactly 1 for 0 dB.
[[nodiscard]] float factorOf(float dB);

}  // namespace cabinaudio::server::gain
