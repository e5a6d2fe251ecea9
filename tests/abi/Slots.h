// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
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

}  // namespace cabinaudio::test
