// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// Path of a recorded voice: 48 kHz, mono, 16 bits, one to two seconds. Of the package alsa-utils.
[[nodiscard]] std::string speechFile();

/// The samples of a mono file; empty when it cannot be read.
[[nodiscard]] std::vector<std::int16_t> samplesOf(const std::string& path);

/// Every `factor`-th of the samples' running averages.
[[nodiscard]] std::vector<double> thinned(const std::vector<std::int16_t>& samples,
                                          std::size_t factor);

/// The best correlation, -1 to 1, of `part` with any piece of `loop`, which goes on with its
/// beginning at its end.
[[nodiscard]] double correlation(const std::vector<double>& part, const std::vector<double>& loop);

}  // namespace cabinaudio::test
