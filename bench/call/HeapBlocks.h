// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace cabinaudio::bench {

/// Heap blocks that this process has asked for so far, all threads together. The program's own
/// malloc() counts them, in front of the C library's, which does the work.
std::uint64_t heapBlocks();

}  // namespace cabinaudio::bench
