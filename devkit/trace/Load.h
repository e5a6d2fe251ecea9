// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace cabinaudio::trace {

/// A layout from the bytes of a message; what is missing is zero.
template <typename Layout>
[[nodiscard]] Layout load(std::span<const std::uint8_t> bytes) {
    Layout layout = {};
    if (!bytes.empty()) std::memcpy(&layout, bytes.data(), std::min(bytes.size(), sizeof layout));
    return layout;
}

/// What follows a header; empty if nothing does.
[[nodiscard]] inline std::span<const std::uint8_t> behind(std::span<const std::uint8_t> bytes,
                                                          std::size_t header) {
    return bytes.subspan(std::min(bytes.size(), header));
}

}  // namespace cabinaudio::trace
