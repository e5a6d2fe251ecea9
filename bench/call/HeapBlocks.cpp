// SPDX-License-Identifier: Apache-2.0
#include "bench/call/HeapBlocks.h"

#include <atomic>
#include <cstddef>

namespace {

std::atomic<std::uint64_t> gBlocks{0};

void count() {
    gBlocks.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace

// The C library's own functions, under the names that it exports for replacements of malloc().
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t items, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size) noexcept {
    count();
    return __libc_malloc(size);
}
void* calloc(std::size_t items, std::size_t size) noexcept {
    count();
    return __libc_calloc(items, size);
}
void* realloc(void* block, std::size_t size) noexcept {
    count();
    return __libc_realloc(block, size);
}
}

namespace cabinaudio::bench {

std::uint64_t heapBlocks() {
    return gBlocks.load(std::memory_order_relaxed);
}

}  // namespace cabinaudio::bench
