// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace cabinaudio::server {

/// The highest amplitude in the last tenth of a second, to a fiftieth of a second. Time is counted
/// in frames.
class PeakWindow {
public:
    explicit PeakWindow(std::uint32_t rate) : mSlotFrames(std::max(rate / 50, 1U)) {}

    /// @param frame  position of the samples, never before those of an earlier call
    void add(std::uint64_t frame, float peak) {
        const std::uint64_t number = frame / mSlotFrames;
        Slot& slot = mSlots[static_cast<std::size_t>(number % mSlots.size())];
        slot = {number, slot.number == number ? std::max(slot.peak, peak) : peak};
    }

    /// @param now  the present position; 0 for silence
    [[nodiscard]] float peak(std::uint64_t now) const {
        float highest = 0.0F;
        for (const Slot& slot : mSlots) {
            if (slot.number + mSlots.size() > now / mSlotFrames)
                highest = std::max(highest, slot.peak);
        }
        return highest;
    }

    void clear() { mSlots.fill({}); }

private:
    struct Slot {
        std::uint64_t number = 0;  // counted from the first frame
        float peak = 0.0F;
    };

    std::uint64_t mSlotFrames;
    std::array<Slot, 6> mSlots{};
};

}  // namespace cabinaudio::server
