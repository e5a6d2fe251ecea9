// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// A virtual operation by its place in the table.
template <typename Function>
Function* slot(void* object, std::size_t index) {
    return reinterpret_cast<Function*>((*static_cast<void***>(object))[index]);
}

using Plain = int(void*);

/// A pointer to a virtual member holds the member's offset in the table (Itanium C++ ABI).
/// @return nothing for a member that is not virtual, or that needs an adjusted object
template <typename Member>
std::optional<std::size_t> slotOf(Member member) {
    struct {
        std::uintptr_t function;
        std::uintptr_t adjustment;
    } parts;
    static_assert(sizeof parts == sizeof member);
    std::memcpy(&parts, &member, sizeof parts);
#if defined(__arm__) || defined(__aarch64__)
    // Bit 0 of a code address says Thumb there, so bit 0 of the adjustment says virtual.
    const bool isVirtual = parts.adjustment == 1;
    const std::uintptr_t offset = parts.function;
#else
    const bool isVirtual = parts.function % 2 == 1 && parts.adjustment == 0;
    const std::uintptr_t offset = parts.function - 1;
#endif
    if (!isVirtual) return std::nullopt;
    return offset / sizeof(void*);
}

/// An operation with its slot as the interface lists it, and as the compiler calls it.
struct Operation {
    std::size_t listed;
    std::optional<std::size_t> compiled;
    const char* signature;
};

/// The member's type selects among overloads.
template <std::size_t LISTED, typename Member, Member MEMBER>
Operation operation() {
    return {LISTED, slotOf(MEMBER), __PRETTY_FUNCTION__};
}

/// Operations and destructors together fill the table.
inline void expectSlots(const std::vector<Operation>& operations, std::size_t destructors) {
    std::vector<std::size_t> slots = {destructors, destructors + 1};
    for (const Operation& operation : operations) {
        EXPECT_EQ(operation.compiled, operation.listed) << operation.signature;
        slots.push_back(operation.listed);
    }
    std::sort(slots.begin(), slots.end());
    for (std::size_t i = 0; i < slots.size(); ++i)
        EXPECT_EQ(slots[i], i) << "a slot is listed twice or not at all";
}

/// The name of the operation that was reached last.
inline std::string gCalled;

inline int called(const char* name) {
    gCalled = name;
    return 0;
}

/// An object that reports its destruction.
template <typename Class>
struct Recording : Class {
    ~Recording() override { called("destructor"); }
};

/// Calls both destructors by their slots, DESTRUCTORS and the next one. Check the operations first:
/// if one of them were in a destructor's slot, it would be called.
template <typename Class>
void expectDestructorsSideBySide(std::size_t destructors) {
    void* const place = ::operator new(sizeof(Recording<Class>));
    auto* const first = new (place) Recording<Class>;
    slot<Plain>(first, destructors)(first);  // the complete object, without its memory
    EXPECT_EQ(gCalled, "destructor");
    gCalled.clear();
    auto* const second = new (place) Recording<Class>;
    slot<Plain>(second, destructors + 1)(second);  // also frees the memory
    EXPECT_EQ(gCalled, "destructor");
}

}  // namespace cabinaudio::test
