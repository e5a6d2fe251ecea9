// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::tool {

/// The gain in dB, in hundredths, that results in this amplitude; `lowest` stands for silence and
/// is the least.
[[nodiscard]] double gainOfPercent(double percent, double lowest);

/// The amplitude of a gain, in hundredths of a percent; 0 for `lowest` and below.
[[nodiscard]] double percentOfGain(double dB, double lowest);

}  // namespace cabinaudio::tool
