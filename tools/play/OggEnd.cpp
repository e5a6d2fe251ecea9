// SPDX-License-Identifier: Apache-2.0
#include "tools/play/OggEnd.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace cabinaudio::tool {

namespace {

// RFC 3533, section 6.
constexpr std::array<std::uint8_t, 4> CAPTURE = {'O', 'g', 'g', 'S'};
constexpr std::size_t FLAGS = 5;
constexpr std::uint8_t END_MARK = 4;
constexpr std::size_t SEGMENT_COUNT = 26;
constexpr std::size_t FIXED_HEADER = 27;

}  // namespace

void OggEnd::take(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const std::size_t skipped = std::min(mBody, bytes.size());
        mBody -= skipped;
        bytes = bytes.subspan(skipped);
        if (bytes.empty()) return;
        takeHeaderByte(bytes.front());
        bytes = bytes.subspan(1);
    }
}

void OggEnd::takeHeaderByte(std::uint8_t byte) {
    if (mHeader.size() < CAPTURE.size() && byte != CAPTURE[mHeader.size()]) {
        mHeader.clear();  // not a page yet
        if (byte != CAPTURE[0]) return;
    }
    mHeader.push_back(byte);
    if (mHeader.size() < FIXED_HEADER) return;
    if (mHeader.size() < FIXED_HEADER + mHeader[SEGMENT_COUNT]) return;
    mHasEndMark = (mHeader[FLAGS] & END_MARK) != 0;
    mBody = std::accumulate(mHeader.begin() + FIXED_HEADER, mHeader.end(), std::size_t{0});
    mHeader.clear();
}

}  // namespace cabinaudio::tool
