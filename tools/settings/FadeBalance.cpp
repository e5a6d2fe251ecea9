// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/FadeBalance.h"

#include "tools/settings/Rows.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>

namespace cabinaudio::tool {

namespace {

using Steps4 = std::array<int, 4>;

/// Channel volumes for a fade and balance, computed as in the library.
Steps4 channelSteps(int fade, int balance) {
    Steps4 steps = {100 - balance + fade, 100 + balance + fade, 100 - balance - fade,
                    100 + balance - fade};
    for (int& step : steps)
        step = std::clamp(step, 0, 100);
    return steps;
}

int distance(const Position& position) {
    return std::abs(position.fade) + std::abs(position.balance);
}

std::optional<Position> positionOf(const Steps4& steps) {
    std::optional<Position> best;
    for (int fade = -100; fade <= 100; ++fade)
        for (int balance = -100; balance <= 100; ++balance) {
            const Position position{fade, balance};
            if (channelSteps(fade, balance) != steps) continue;
            if (!best || distance(position) < distance(*best)) best = position;
        }
    return best;
}

}  // namespace

std::optional<Position> positionOf(const std::array<float, 4>& gains) {
    Steps4 steps{};
    for (std::size_t i = 0; i < gains.size(); ++i) {
        // A step is half a dB, step 100 is 0 dB; values between steps were set as gains.
        const float step =
            gains[i] <= static_cast<float>(rows::LOWEST_GAIN) ? 0.0F : 100.0F + 2.0F * gains[i];
        if (step != std::round(step)) return std::nullopt;
        steps[i] = static_cast<int>(step);
    }
    return positionOf(steps);
}

}  // namespace cabinaudio::tool
