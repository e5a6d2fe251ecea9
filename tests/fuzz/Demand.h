// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <cstdlib>

namespace cabinaudio::fuzz {

/// Ends the process, which the fuzzer takes for a find.
inline void demand(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "not met: %s\n", what);
    std::abort();
}

}  // namespace cabinaudio::fuzz
