// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <new>
#include <vector>

namespace cabinaudio::bench {

/// Size of a cache line, on which the data of our rings begins.
inline constexpr std::size_t CACHE_LINE = 64;

/// Allocates on cache lines. The C library aligns blocks to 16 bytes only, and a copy that crosses
/// a line with every vector takes longer.
template <typename T>
struct LineAllocator {
    using value_type = T;

    LineAllocator() = default;
    template <typename Other>
    explicit LineAllocator(const LineAllocator<Other>&) {}

    T* allocate(std::size_t count) {
        return static_cast<T*>(::operator new (count * sizeof(T), std::align_val_t{CACHE_LINE}));
    }
    void deallocate(T* at, std::size_t) { ::operator delete (at, std::align_val_t{CACHE_LINE}); }

    bool operator==(const LineAllocator&) const { return true; }
};

/// Bytes that begin on a cache line: every source, destination and ring of a benchmark.
using Bytes = std::vector<unsigned char, LineAllocator<unsigned char>>;

}  // namespace cabinaudio::bench
