// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/Ring.h"

#include <algorithm>
#include <atomic>
#include <cstdint>

// The ring's arithmetic and its access to shared memory. Every field is loaded once and then
// compared with the limits: the other process may store anything at any time.

namespace cabinaudio {

template <typename T>
inline T loadRelaxed(T& field) {
    return std::atomic_ref<T>(field).load(std::memory_order_relaxed);
}
template <typename T>
inline T loadAcquire(T& field) {
    return std::atomic_ref<T>(field).load(std::memory_order_acquire);
}
template <typename T>
inline void storeRelaxed(T& field, T value) {
    std::atomic_ref<T>(field).store(value, std::memory_order_relaxed);
}
/// For offsets: the bytes that were copied before belong to the other side from here on.
template <typename T>
inline void storeRelease(T& field, T value) {
    std::atomic_ref<T>(field).store(value, std::memory_order_release);
}

/// Snapshot of a ring's size and offsets.
struct RingState {
    std::uint32_t size;
    std::uint32_t read;
    std::uint32_t write;

    static RingState of(wire::RingHeader& ring) {
        return {loadAcquire(ring.size), loadAcquire(ring.readOffset),
                loadAcquire(ring.writeOffset)};
    }

    /// Whether a ring of at most `limit` bytes can have this state.
    [[nodiscard]] bool isPossible(std::uint32_t limit) const {
        return size - 1 < limit && read < size && write < size;
    }

    // For possible states only:
    [[nodiscard]] std::uint32_t used() const {
        return read <= write ? write - read : size - read + write;
    }
    [[nodiscard]] std::uint32_t free() const { return size - 1 - used(); }
    [[nodiscard]] std::uint32_t usedInOnePiece() const {
        return read <= write ? write - read : size - read;
    }
};

/// `offset` + `step`, wrapped at `size`; neither is greater than `size`.
inline std::uint32_t advanced(std::uint32_t offset, std::uint32_t step, std::uint32_t size) {
    const std::uint32_t left = size - offset;
    return step < left ? offset + step : step - left;
}

/// Splits `length` bytes from `offset` at the end of the ring: calls piece(offset, bytes, next
/// offset) once, or twice when the bytes wrap; once with 0 bytes when `length` is 0.
template <typename Piece>
inline void forEachPiece(std::uint32_t offset, std::uint32_t length, std::uint32_t size,
                         Piece piece) {
    const std::uint32_t first = std::min(size - offset, length);
    const std::uint32_t next = advanced(offset, first, size);
    piece(offset, first, next);
    if (first < length) piece(next, length - first, next + (length - first));
}

}  // namespace cabinaudio
