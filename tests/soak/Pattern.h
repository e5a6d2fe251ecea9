// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

namespace cabinaudio::test {

/// A stream of bytes of which every word says where it stands: a byte that is lost, doubled or torn
/// puts all that follow in the wrong place. Words are 32 bits, in the machine's order (all of ours
/// are little-endian), and repeat themselves after 16 GiB.
namespace position_pattern {

constexpr std::uint32_t FACTOR = 2654435761U;
constexpr std::uint32_t START = 0x9e3779b9U;

constexpr std::uint32_t word(std::uint64_t index) {
    return static_cast<std::uint32_t>(index) * FACTOR + START;
}

/// The factor's inverse: FACTOR times it is 1.
constexpr std::uint32_t inverse() {
    std::uint32_t found = FACTOR;
    for (int i = 0; i < 5; ++i)
        found *= 2 - FACTOR * found;
    return found;
}
static_assert(FACTOR * inverse() == 1);

/// `words` words from the word `index` on.
inline void fill(std::uint32_t* to, std::uint64_t index, std::size_t words) {
    std::uint32_t value = word(index);
    for (std::size_t i = 0; i < words; ++i, value += FACTOR)
        to[i] = value;
}

/// A view of the stream from the byte `at` on, good for `BYTES` bytes.
template <std::size_t BYTES>
class View {
public:
    const unsigned char* from(std::uint64_t at) {
        fill(mWords, at / 4, BYTES / 4 + 1);
        return reinterpret_cast<const unsigned char*>(mWords) + at % 4;
    }

private:
    std::uint32_t mWords[BYTES / 4 + 1];
};

/// Where in the stream at least 12 bytes come from: the place nearest behind `after`.
inline std::optional<std::uint64_t> place(const unsigned char* bytes, std::uint64_t after) {
    for (unsigned skip = 0; skip < 4; ++skip) {
        std::uint32_t words[2];
        std::memcpy(words, bytes + skip, sizeof words);
        if (words[1] - words[0] != FACTOR) continue;
        const std::uint32_t index = (words[0] - START) * inverse();
        // The index itself is known to 32 bits.
        const std::uint64_t at = (after & ~std::uint64_t{0x3ffffffff}) + 4ULL * index;
        const std::uint64_t begin = at - skip;
        if (begin >= after) return begin;
    }
    return {};
}

}  // namespace position_pattern
}  // namespace cabinaudio::test
