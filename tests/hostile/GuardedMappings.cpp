// SPDX-License-Identifier: Apache-2.0
//
// This program's own mmap() comes before the C library's. It also serves the sanitizers' own
// start-up, so it must not be instrumented.
#include "tests/hostile/GuardedMappings.h"

#include <dlfcn.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>

namespace {

using Map = void*(void*, std::size_t, int, int, int, off64_t);

constinit std::atomic<bool> gIsGuarded{false};
constinit std::atomic<unsigned> gCount{0};

/// The definition behind ours. A sanitizer's stands in the program, too, under another name.
void* mapPlainly(void* address, std::size_t length, int protection, int flags, int fd,
                 off64_t offset) {
    static constinit std::atomic<Map*> found{nullptr};
    Map* function = found.load(std::memory_order_acquire);
    if (function == nullptr) {
        void* at = dlsym(RTLD_DEFAULT, "__interceptor_mmap64");
        if (at == nullptr) at = dlsym(RTLD_NEXT, "mmap64");
        function = reinterpret_cast<Map*>(at);
        found.store(function, std::memory_order_release);
    }
    return function(address, length, protection, flags, fd, offset);
}

void* mapBetweenGuards(std::size_t length, int protection, int flags, int fd, off64_t offset) {
    const auto page = static_cast<std::size_t>(getpagesize());
    const std::size_t pages = (length + page - 1) / page * page;
    const std::size_t behind = sizeof(void*) == 8 ? std::size_t{0xffffffff} + 1 : page;
    void* const room = mapPlainly(nullptr, page + pages + behind, PROT_NONE,
                                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (room == MAP_FAILED) return room;
    gCount.fetch_add(1);
    return mapPlainly(static_cast<char*>(room) + page, length, protection, flags | MAP_FIXED, fd,
                      offset);
}

void* map(void* address, std::size_t length, int protection, int flags, int fd, off64_t offset) {
    const bool isShared = (flags & MAP_SHARED) != 0 && fd >= 0 && length != 0;
    if (isShared && gIsGuarded.load(std::memory_order_acquire))
        return mapBetweenGuards(length, protection, flags, fd, offset);
    return mapPlainly(address, length, protection, flags, fd, offset);
}

}  // namespace

namespace cabinaudio::test {

EveryMappingGuarded::EveryMappingGuarded() {
    gCount = 0;
    gIsGuarded = true;
}

EveryMappingGuarded::~EveryMappingGuarded() {
    gIsGuarded = false;
}

unsigned EveryMappingGuarded::count() {
    return gCount;
}

}  // namespace cabinaudio::test

extern "C" {

void* mmap64(void* address, std::size_t length, int protection, int flags, int fd,
             off64_t offset) noexcept {
    return map(address, length, protection, flags, fd, offset);
}
void* mmap(void* address, std::size_t length, int protection, int flags, int fd,
           off_t offset) noexcept {
    return map(address, length, protection, flags, fd, offset);
}
}
