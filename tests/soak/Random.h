// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <random>

namespace cabinaudio::test {

/// std::mt19937 with numbers of 32 bits on every machine.
using Random =
    std::mersenne_twister_engine<std::uint32_t, 32, 624, 397, 31, 0x9908b0dfU, 11, 0xffffffffU, 7,
                                 0x9d2c5680U, 15, 0xefc60000U, 18, 1812433253U>;

}  // namespace cabinaudio::test
