// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "foundation/Log.h"
#include "shm/ShareMemoryHandle.h"

#include <sys/types.h>

// The mappings of a ring. Each function logs its failures for `site` and returns whether it worked;
// a failed one leaves its field of the handle null.

namespace cabinaudio {

static_assert(sizeof(off_t) == 8, "physical addresses from 2 GiB on are file offsets");

/// Sets `data`, for a ring in physical memory.
[[nodiscard]] bool mapPhysicalMemory(ShareMemoryHandle* hdl, const LogSite& site);

/// Bytes of the ring's shared-memory object.
[[nodiscard]] inline off_t objectLength(const ShareMemoryHandle& hdl) {
    constexpr off_t header = sizeof(wire::RingHeader);
    return hdl.type == SHM_TYPE_PHYS_MEM ? header : header + off_t{hdl.len};
}

/// Opens or makes the ring's shared-memory object. @return the descriptor, negative on failure
[[nodiscard]] int openObject(const ShareMemoryHandle* hdl, const LogSite& site);

/// Sets `hdr` to the first `len` bytes of the object, whose memory is reserved, and notes which
/// object it is. Closes `fd`.
[[nodiscard]] bool mapHeader(ShareMemoryHandle* hdl, int fd, off_t len, const LogSite& site);

void unmapPhysicalMemory(const ShareMemoryHandle* hdl, const LogSite& site);

/// Unmaps the header and what follows it.
void unmapHeader(const ShareMemoryHandle* hdl, const LogSite& site);

}  // namespace cabinaudio
