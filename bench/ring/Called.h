// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/ring/Copies.h"
#include "bench/ring/Stamped.h"

#include <cstdint>

namespace cabinaudio::bench {

/// A stamped ring behind two functions of a shared library, which is how programs call ours. With
/// Copies it is the lower bound for such a pair of functions; with Header it is a minimal ring of
/// our kind.
template <typename Ring>
class Called {
public:
    explicit Called(std::uint32_t size) : mRing(size) {}

    int write(const unsigned char* src, std::uint32_t length);
    int read(unsigned char* dst, std::uint32_t length);

private:
    Stamped<Ring> mRing;
};

}  // namespace cabinaudio::bench
