// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

struct ShareMemoryHandle;

// Cache maintenance of a ring in physical memory. A failure is logged, and the copy continues.

namespace cabinaudio {

/// Called before bytes are copied out of the ring.
void cache_invalidate(const ShareMemoryHandle* hdl, const unsigned char* start,
                      std::uint32_t length);

/// Called after bytes were copied into the ring.
void cache_clean(const ShareMemoryHandle* hdl, const unsigned char* start, std::uint32_t length);

}  // namespace cabinaudio
