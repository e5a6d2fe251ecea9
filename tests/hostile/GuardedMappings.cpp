// SPDX-License-Identifier: Apache-2.0
#include "tests/hostile/GuardedMappings.h"

#include "tests/interpose/Files.h"

#include <sys/mman.h>

#include <atomic>

namespace cabinaudio::test {
namespace {

constinit std::atomic<unsigned> gCount{0};

void* guard(void* address, std::size_t length, int protection, int flags, int fd, off64_t offset) {
    const bool isShared = (flags & MAP_SHARED) != 0 && fd >= 0 && length != 0;
    if (!isShared) return platform::mmap.real(address, length, protection, flags, fd, offset);
    void* const mapping = platform::mapBetweenGuards(length, protection, flags, fd, offset);
    if (mapping != MAP_FAILED) gCount.fetch_add(1);
    return mapping;
}

}  // namespace

EveryMappingGuarded::EveryMappingGuarded() {
    gCount = 0;
    platform::mmap.set(guard);
}

EveryMappingGuarded::~EveryMappingGuarded() {
    platform::mmap.set(nullptr);
}

unsigned EveryMappingGuarded::count() {
    return gCount;
}

}  // namespace cabinaudio::test
