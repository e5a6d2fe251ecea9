// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>

namespace cabinaudio::hear {

/// A place in a sound as a check writes it.
struct Place {
    double value = 0;      // not negative
    bool isFrame = false;  // otherwise seconds

    [[nodiscard]] double seconds(unsigned rate) const { return isFrame ? value / rate : value; }
};

/// A part of a sound; empty places are its begin and its end.
struct Range {
    std::optional<Place> from;
    std::optional<Place> to;

    [[nodiscard]] bool isWhole() const { return !from && !to; }
};

}  // namespace cabinaudio::hear
