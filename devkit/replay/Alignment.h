// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

namespace cabinaudio::replay {

/// What belongs together in two sequences; one side is empty where the other has no counterpart.
struct Pairing {
    std::optional<std::size_t> recorded;
    std::optional<std::size_t> got;
};

enum class Likeness { Equal, Similar, Different };

/// Pairs two sequences so that the fewest elements differ, are missing or are surplus.
[[nodiscard]] std::vector<Pairing> align(
    std::size_t recorded, std::size_t got,
    const std::function<Likeness(std::size_t recorded, std::size_t got)>& likeness);

}  // namespace cabinaudio::replay
