// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace cabinaudio::replay {

/// Compares sound with the recorded one as it comes.
class SoundCheck {
public:
    struct Difference {
        std::uint64_t position;  // byte
        unsigned recorded;
        unsigned got;
    };

    /// The bytes at this position.
    void compare(std::uint64_t position, std::span<const std::uint8_t> recorded,
                 std::span<const std::uint8_t> got) {
        const auto [was, is] =
            std::mismatch(recorded.begin(), recorded.end(), got.begin(), got.end());
        if (mFirst || was == recorded.end() || is == got.end()) return;
        mFirst = {position + static_cast<std::uint64_t>(was - recorded.begin()), *was, *is};
    }
    void addSurplus(std::size_t bytes) { mSurplus += bytes; }
    void addTaken(std::size_t bytes) { mTaken += bytes; }

    [[nodiscard]] const std::optional<Difference>& first() const { return mFirst; }
    /// Bytes that were not recorded.
    [[nodiscard]] std::uint64_t surplus() const { return mSurplus; }
    /// Bytes that were.
    [[nodiscard]] std::uint64_t taken() const { return mTaken; }

private:
    std::optional<Difference> mFirst;
    std::uint64_t mSurplus = 0;
    std::uint64_t mTaken = 0;
};

}  // namespace cabinaudio::replay
