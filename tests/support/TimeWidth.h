// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>

namespace cabinaudio::test {

/// The symbol of a C library function that takes times. Where programs may be built with times that
/// are wider than a word, the library has a function for each width, and its headers choose.
constexpr const char* symbolByTime(const char* ofWordTimes, const char* of64BitTimes) {
    return sizeof(time_t) > sizeof(long) ? of64BitTimes : ofWordTimes;
}

}  // namespace cabinaudio::test
