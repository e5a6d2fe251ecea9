// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace cabinaudio::bench {

/// Number of heap blocks that this process has allocated so far, in all threads. The program's own
/// malloc() counts them and calls the C library's.
std::uint64_t heapBlocks();

}  // namespace cabinaudio::bench
