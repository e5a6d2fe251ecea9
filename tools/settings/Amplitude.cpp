// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Amplitude.h"

#include <algorithm>
#include <cmath>

namespace cabinaudio::tool {

namespace {

double hundredths(double number) {
    return std::round(number * 100) / 100;
}

}  // namespace

double gainOfPercent(double percent, double lowest) {
    if (percent <= 0) return lowest;
    return std::max(lowest, hundredths(20 * std::log10(percent / 100)));
}

double percentOfGain(double dB, double lowest) {
    return dB <= lowest ? 0 : hundredths(100 * std::pow(10, dB / 20));
}

}  // namespace cabinaudio::tool
