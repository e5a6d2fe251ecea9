// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace cabinaudio::contract {

using Bytes = std::vector<std::uint8_t>;

/// A text in a field of 64 bytes.
[[nodiscard]] inline Bytes name64(const std::string& text) {
    Bytes bytes(64);
    std::memcpy(bytes.data(), text.data(), text.size() < 64 ? text.size() : 64);
    return bytes;
}

inline void append(Bytes& bytes, const void* from, std::size_t count) {
    if (count == 0) return;
    const std::size_t end = bytes.size();
    bytes.resize(end + count);
    std::memcpy(bytes.data() + end, from, count);
}

template <typename Part>
void append(Bytes& bytes, const Part& part) {
    if constexpr (std::is_same_v<Part, Bytes>) {
        append(bytes, part.data(), part.size());
    } else {
        static_assert(std::is_trivially_copyable_v<Part>);
        append(bytes, &part, sizeof part);
    }
}

/// Records, numbers and bytes, one behind the other.
template <typename... Parts>
[[nodiscard]] Bytes join(const Parts&... parts) {
    Bytes bytes;
    (append(bytes, parts), ...);
    return bytes;
}

/// The record at `offset`; the bytes that are missing are 0.
template <typename Record>
[[nodiscard]] Record recordAt(const Bytes& bytes, std::size_t offset = 0) {
    Record record{};
    const std::size_t there = bytes.size() > offset ? bytes.size() - offset : 0;
    std::memcpy(&record, bytes.data() + (there > 0 ? offset : 0),
                there < sizeof record ? there : sizeof record);
    return record;
}

/// The number of a function or an event on the wire.
template <typename Id>
[[nodiscard]] constexpr std::uint32_t idOf(Id id) {
    return static_cast<std::uint32_t>(id);
}

/// Hexadecimal digits in groups of two, cut to 32 bytes.
[[nodiscard]] std::string hexText(const Bytes& bytes);

}  // namespace cabinaudio::contract
