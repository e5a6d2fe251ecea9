// SPDX-License-Identifier: Apache-2.0
#include "bench/ring/Called.h"

#include "bench/ring/HeaderRing.h"
#include "bench/ring/Peers.h"

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
template class Called<Header>;
template class Called<Spa>;
template class Called<Jack>;
template class Called<Boost>;

}  // namespace cabinaudio::bench
