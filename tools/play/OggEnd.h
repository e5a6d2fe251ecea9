// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace cabinaudio::tool {

/// Follows the pages of an Ogg stream to find whether it is complete: its last page is whole and
/// carries the end mark. May begin anywhere in the stream.
class OggEnd {
public:
    /// Longest page: a start at this distance from a stream's end meets its last page.
    static constexpr std::size_t LONGEST_PAGE = 27 + 255 + 255 * 255;

    void take(std::span<const std::uint8_t> bytes);
    [[nodiscard]] bool isComplete() const { return mHasEndMark && mBody == 0 && mHeader.empty(); }

private:
    void takeHeaderByte(std::uint8_t byte);

    std::vector<std::uint8_t> mHeader;  // of a page, as far as it is there
    std::size_t mBody = 0;              // bytes of the page's body still to come
    bool mHasEndMark = false;           // the last page whose header was whole
};

}  // namespace cabinaudio::tool
