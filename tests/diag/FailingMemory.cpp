// SPDX-License-Identifier: Apache-2.0
//
// This program's operators come before those of the C++ library, which calls them, too.
#include "tests/diag/FailingMemory.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local int tLeft = 0;  // allocations up to the one that fails; 0 for none

#ifndef CABINAUDIO_FIXED_OPERATORS

void* allocate(std::size_t size) noexcept {
    if (tLeft > 0 && --tLeft == 0) return nullptr;
    return std::malloc(size != 0 ? size : 1);
}

void* allocateOrThrow(std::size_t size) {
    void* const block = allocate(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

#endif

}  // namespace

#ifndef CABINAUDIO_FIXED_OPERATORS

void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}

#endif

namespace cabinaudio::test {

bool FailingMemory::isPossible() {
#ifdef CABINAUDIO_FIXED_OPERATORS
    return false;
#else
    return true;
#endif
}

FailingMemory::FailingMemory(int which) {
    tLeft = which;
}

FailingMemory::~FailingMemory() {
    tLeft = 0;
}

bool FailingMemory::hasFailed() const {
    return tLeft == 0;
}

}  // namespace cabinaudio::test
