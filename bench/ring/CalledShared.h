// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/ring/SharedRings.h"

#include <cstdint>

namespace cabinaudio::bench {

/// A ring of SharedRings.h behind two functions of a shared library, which is how programs call
/// ours.
template <typename Ring>
class CalledShared {
public:
    std::uint32_t write(const unsigned char* from, std::uint32_t length);
    std::uint32_t read(unsigned char* to, std::uint32_t length);

private:
    Ring mRing;
};

}  // namespace cabinaudio::bench
