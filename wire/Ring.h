// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/Layout.h"

#include <cstddef>
#include <cstdint>

namespace cabinaudio::wire {

/// Room for one process-shared semaphore of the 32-bit C library. The same 16 bytes on every build;
/// shm/SharedSemaphore.h describes their encoding.
struct SemaphoreSlot {
    std::uint32_t word[4];
};
static_assert(Layout<SemaphoreSlot>);
static_assert(sizeof(SemaphoreSlot) == 16 && alignof(SemaphoreSlot) == 4);

/// Header of a ring in shared memory. Two processes write it, so a reader must expect any value in
/// any field. One writer per offset; both are stored with release and loaded with acquire order.
struct RingHeader {
    std::uint32_t size;                   // 0   capacity in bytes, written by the creator
    std::uint32_t readOffset;             // 4   next byte to read, below size
    std::uint32_t writeOffset;            // 8   next byte to write, below size
    SemaphoreSlot readSem;                // 12  posted after data was written
    SemaphoreSlot writeSem;               // 28  posted after data was read
    std::uint8_t readNotify;              // 44  1: the reading side waits on readSem
    std::uint8_t writeNotify;             // 45  1: the writing side waits on writeSem
    std::uint8_t spare46[2];              // 46
    alignas(8) std::uint64_t updateTime;  // 48  last write or offset update, ms
    std::uint8_t wait;                    // 56  1: the writing side is blocked for free space
    std::uint8_t spare57[7];              // 57
};
static_assert(Layout<RingHeader>);
static_assert(sizeof(RingHeader) == 64);
static_assert(offsetof(RingHeader, size) == 0);
static_assert(offsetof(RingHeader, readOffset) == 4);
static_assert(offsetof(RingHeader, writeOffset) == 8);
static_assert(offsetof(RingHeader, readSem) == 12);
static_assert(offsetof(RingHeader, writeSem) == 28);
static_assert(offsetof(RingHeader, readNotify) == 44);
static_assert(offsetof(RingHeader, writeNotify) == 45);
static_assert(offsetof(RingHeader, spare46) == 46);
static_assert(offsetof(RingHeader, updateTime) == 48);
static_assert(offsetof(RingHeader, wait) == 56);
static_assert(offsetof(RingHeader, spare57) == 57);

/// Argument of the cache device's requests. The device exists only on 32-bit boards, hence the
/// width of the address.
struct CacheRange {
    std::uint32_t start;   // 0  address in the calling process
    std::uint32_t length;  // 4  bytes
};
static_assert(Layout<CacheRange>);
static_assert(sizeof(CacheRange) == 8);
static_assert(offsetof(CacheRange, start) == 0);
static_assert(offsetof(CacheRange, length) == 4);

inline constexpr unsigned long CACHE_CLEAN = 0x40084303;       // after a chunk was written
inline constexpr unsigned long CACHE_INVALIDATE = 0x40084304;  // before a chunk is read

}  // namespace cabinaudio::wire
