// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/settings/Limits.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

// Values that the state file may hold. Each record of settings has a visit() that passes its fields
// to a codec: the name in the file, the field, and a check of the value.
namespace cabinaudio::server {

/// A record that a codec reads or writes.
template <typename Record, typename Type>
concept Is = std::is_same_v<std::remove_const_t<Record>, Type>;

constexpr auto isAny = [](const auto&) { return true; };

inline auto isIn(const Range& range) {
    return [&range](float value) { return range.holds(value); };
}

inline auto areIn(const Range& range) {
    return [&range](const auto& values) {
        return std::all_of(values.begin(), values.end(), isIn(range));
    };
}

inline auto isUpTo(std::int64_t maximum) {
    return [maximum](auto value) {
        return std::int64_t{value} >= 0 && std::int64_t{value} <= maximum;
    };
}

inline auto areUpTo(std::int64_t maximum) {
    return [maximum](const auto& values) {
        return std::all_of(values.begin(), values.end(),
                           [maximum](std::int64_t value) { return value <= maximum; });
    };
}

inline bool isCountWithinLimit(const auto& values) {
    return values.size() <= MOST_REMEMBERED;
}

}  // namespace cabinaudio::server
