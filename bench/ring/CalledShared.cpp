// SPDX-License-Identifier: Apache-2.0
#include "bench/ring/CalledShared.h"

namespace cabinaudio::bench {

template <typename Ring>
std::uint32_t CalledShared<Ring>::write(const unsigned char* from, std::uint32_t length) {
    return mRing.write(from, length);
}

template <typename Ring>
std::uint32_t CalledShared<Ring>::read(unsigned char* to, std::uint32_t length) {
    return mRing.read(to, length);
}

template class CalledShared<HeaderShared>;
template class CalledShared<SpaShared>;
template class CalledShared<BoostShared>;

}  // namespace cabinaudio::bench
