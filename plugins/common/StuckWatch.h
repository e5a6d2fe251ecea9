// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace cabinaudio::plugin {

/// Notices a stream that stands still although it should move. Nothing reports that a server has
/// gone, so a stream that stands still must be asked. Its fill is no sign: a ring that is refilled
/// at once looks full all the time. Not thread-safe.
class StuckWatch {
public:
    /// Time without movement after which the stream is asked, and asked again.
    static constexpr std::uint64_t SUSPICION_US = 100'000;
    /// Time without movement after which a stream that still exists counts as lost, too.
    static constexpr std::uint64_t LIMIT_US = 5'000'000;

    /// Starts anew: the stream moved, or has nothing to do.
    void reset(std::uint64_t now) { mMoved = mAsked = now; }
    /// @param position  of the stream; a change is movement
    void note(std::uint64_t position, std::uint64_t now) {
        if (position != mPosition) reset(now);
        mPosition = position;
    }
    /// Whether it is time to ask the stream; the next time comes SUSPICION_US later.
    [[nodiscard]] bool mustAsk(std::uint64_t now) {
        if (now - mAsked < SUSPICION_US) return false;
        mAsked = now;
        return true;
    }
    [[nodiscard]] bool isOverdue(std::uint64_t now) const { return now - mMoved >= LIMIT_US; }
    /// When it last moved.
    [[nodiscard]] std::uint64_t moved() const { return mMoved; }

private:
    std::uint64_t mPosition = 0;
    std::uint64_t mMoved = 0;  // us
    std::uint64_t mAsked = 0;  // us
};

}  // namespace cabinaudio::plugin
