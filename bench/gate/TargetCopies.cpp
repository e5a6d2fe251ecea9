// SPDX-License-Identifier: Apache-2.0
// Lower bound for two functions of a shared library, on the target.
#include "bench/ring/Called.h"

namespace cabinaudio::bench {

template <typename Ring>
int Called<Ring>::write(const unsigned char* src, std::uint32_t length) {
    mRing.write(src, length);
    return static_cast<int>(length);
}

template <typename Ring>
int Called<Ring>::read(unsigned char* dst, std::uint32_t length) {
    mRing.read(dst, length);
    return static_cast<int>(length);
}

template class Called<Copies>;

}  // namespace cabinaudio::bench
