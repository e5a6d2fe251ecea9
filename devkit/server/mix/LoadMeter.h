// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace cabinaudio::server {

/// Time that the mix took during the last second.
class LoadMeter {
public:
    using Clock = std::chrono::steady_clock;

    struct Load {
        double share = 0.0;                    // of the second
        std::chrono::microseconds longest{0};  // mix
    };

    void add(Clock::time_point begin, Clock::time_point end) {
        Slot& slot = mSlots[static_cast<std::size_t>(numberOf(end)) % mSlots.size()];
        if (slot.number != numberOf(end)) slot = {numberOf(end), {}, {}};
        slot.busy += end - begin;
        slot.longest = std::max(slot.longest, end - begin);
    }

    [[nodiscard]] Load load(Clock::time_point now) const {
        Clock::duration busy{}, longest{};
        for (const Slot& slot : mSlots) {
            if (slot.number + static_cast<std::int64_t>(mSlots.size()) <= numberOf(now)) continue;
            busy += slot.busy;
            longest = std::max(longest, slot.longest);
        }
        return {std::chrono::duration<double>(busy) / std::chrono::seconds(1),
                std::chrono::duration_cast<std::chrono::microseconds>(longest)};
    }

private:
    struct Slot {
        std::int64_t number = -1;  // counted from the clock's start
        Clock::duration busy{};
        Clock::duration longest{};
    };

    static std::int64_t numberOf(Clock::time_point time) {
        return time.time_since_epoch() / std::chrono::milliseconds(100);
    }

    std::array<Slot, 10> mSlots{};
};

}  // namespace cabinaudio::server
