// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Rounds.h"

#include <algorithm>
#include <cstdlib>

namespace cabinaudio::test {

namespace {

#if defined(__x86_64__)
constexpr long USUAL = 1000;
#else
constexpr long USUAL = 200;
#endif

}  // namespace

int rounds(int percent) {
    const char* const wanted = std::getenv("CABINAUDIO_RACE_ROUNDS");
    const long all = wanted != nullptr ? std::atol(wanted) : USUAL;
    return static_cast<int>(std::max(all * percent / 100, 1L));
}

}  // namespace cabinaudio::test
