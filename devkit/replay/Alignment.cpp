// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/Alignment.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace cabinaudio::replay {

namespace {

using Compare = std::function<Likeness(std::size_t, std::size_t)>;

// Two different elements cost less than one that is missing and one that is surplus.
constexpr std::uint32_t UNPAIRED = 10;
constexpr std::uint32_t SIMILAR = 9;
constexpr std::uint32_t DIFFERENT = 18;

// Of the table. Longer sequences are paired in order behind their common beginning.
constexpr std::size_t MOST_CELLS = 4'000'000;

std::uint32_t costOf(Likeness likeness) {
    if (likeness == Likeness::Equal) return 0;
    return likeness == Likeness::Similar ? SIMILAR : DIFFERENT;
}

/// Costs of pairing the ends of both sequences from each place on.
class Table {
public:
    Table(std::size_t recorded, std::size_t got, const Compare& likeness)
        : mRecorded(recorded), mGot(got), mLikeness(likeness), mCosts((recorded + 1) * (got + 1)) {
        for (std::size_t r = recorded + 1; r-- > 0;)
            for (std::size_t g = got + 1; g-- > 0;)
                cost(r, g) = cheapest(r, g);
    }

    [[nodiscard]] std::vector<Pairing> pairs() {
        std::vector<Pairing> result;
        std::size_t r = 0;
        std::size_t g = 0;
        while (r < mRecorded || g < mGot) {
            const std::uint32_t here = cost(r, g);
            if (r < mRecorded && g < mGot && here == costOf(mLikeness(r, g)) + cost(r + 1, g + 1)) {
                result.push_back({r++, g++});
            } else if (r < mRecorded && here == UNPAIRED + cost(r + 1, g)) {
                result.push_back({r++, {}});
            } else {
                result.push_back({{}, g++});
            }
        }
        return result;
    }

private:
    [[nodiscard]] std::uint32_t& cost(std::size_t r, std::size_t g) {
        return mCosts[r * (mGot + 1) + g];
    }

    [[nodiscard]] std::uint32_t cheapest(std::size_t r, std::size_t g) {
        if (r == mRecorded && g == mGot) return 0;
        std::uint32_t least = std::numeric_limits<std::uint32_t>::max();
        if (r < mRecorded) least = std::min(least, UNPAIRED + cost(r + 1, g));
        if (g < mGot) least = std::min(least, UNPAIRED + cost(r, g + 1));
        if (r < mRecorded && g < mGot)
            least = std::min(least, costOf(mLikeness(r, g)) + cost(r + 1, g + 1));
        return least;
    }

    std::size_t mRecorded;
    std::size_t mGot;
    const Compare& mLikeness;
    std::vector<std::uint32_t> mCosts;
};

/// Those of the ends of both sequences, from a common place on.
std::vector<Pairing> pairInOrder(std::size_t begin, std::size_t recorded, std::size_t got) {
    std::vector<Pairing> result;
    for (std::size_t i = begin; i < std::max(recorded, got); ++i) {
        Pairing pair;
        if (i < recorded) pair.recorded = i;
        if (i < got) pair.got = i;
        result.push_back(pair);
    }
    return result;
}

}  // namespace

std::vector<Pairing> align(std::size_t recorded, std::size_t got, const Compare& likeness) {
    std::size_t common = 0;
    while (common < std::min(recorded, got) && likeness(common, common) == Likeness::Equal)
        ++common;
    std::vector<Pairing> result = pairInOrder(0, common, common);
    const std::size_t cells = (recorded - common + 1) * (got - common + 1);
    std::vector<Pairing> rest;
    if (cells > MOST_CELLS) {
        rest = pairInOrder(common, recorded, got);
    } else {
        const Compare shifted = [&](std::size_t r, std::size_t g) {
            return likeness(r + common, g + common);
        };
        rest = Table(recorded - common, got - common, shifted).pairs();
        for (Pairing& pair : rest) {
            if (pair.recorded) *pair.recorded += common;
            if (pair.got) *pair.got += common;
        }
    }
    result.insert(result.end(), rest.begin(), rest.end());
    return result;
}

}  // namespace cabinaudio::replay
