// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <type_traits>

namespace cabinaudio::wire {

/// A record that is copied to a socket or into shared memory byte for byte: no pointers and no
/// implicit padding. All numbers are little-endian.
template <typename T>
concept Layout = std::is_standard_layout_v<T> && std::is_trivially_copyable_v<T> &&
    std::has_unique_object_representations_v<T>;

static_assert(std::endian::native == std::endian::little, "the wire is little-endian");

}  // namespace cabinaudio::wire
