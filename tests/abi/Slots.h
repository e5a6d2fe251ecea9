// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>

namespace cabinaudio::test {

/// A virtual operation by its place in the table.
template <typename Function>
Function* slot(void* object, std::size_t index) {
    return reinterpret_cast<Function*>((*static_cast<void***>(object))[index]);
}

using Plain = int(void*);

/// What was reached last.
inline std::string gCalled;

inline int called(const char* name) {
    gCalled = name;
    return 0;
}

/// Calls both destructors of a recording type by their places, DESTRUCTOR and the one behind it.
template <typename Recording>
void expectDestructorsSideBySide() {
    EXPECT_STREQ(Recording::ORDER[Recording::DESTRUCTOR], "");
    void* const place = ::operator new(sizeof(Recording));
    auto* const first = new (place) Recording;
    slot<Plain>(first, Recording::DESTRUCTOR)(first);  // the complete object, without its memory
    EXPECT_EQ(gCalled, "destructor");
    gCalled.clear();
    auto* const second = new (place) Recording;
    slot<Plain>(second, Recording::DESTRUCTOR + 1)(second);  // gives the memory back, too
    EXPECT_EQ(gCalled, "destructor");
}

}  // namespace cabinaudio::test
