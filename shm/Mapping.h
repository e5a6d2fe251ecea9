// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "foundation/Log.h"
#include "shm/ShareMemoryHandle.h"

#include <sys/types.h>

// The mappings of a ring. Each function logs its failures for `site`; a mapping that fails leaves
// its field of the handle null.

namespace cabinaudio {

static_assert(sizeof(off_t) == 8, "physical addresses from 2 GiB on are file offsets");

/// Maps the data of a ring in physical memory and sets `data`.
[[nodiscard]] bool mapPhysicalMemory(ShareMemoryHandle* hdl, const LogSite& site);

/// Length of the ring's shared-memory object in bytes.
[[nodiscard]] inline off_t objectLength(const ShareMemoryHandle& hdl) {
    constexpr off_t HEADER = sizeof(wire::RingHeader);
    return hdl.type == SHM_TYPE_PHYS_MEM ? HEADER : HEADER + off_t{hdl.len};
}

/// Opens or creates the ring's shared-memory object. @return the descriptor, negative on failure
[[nodiscard]] int openObject(const ShareMemoryHandle* hdl, const LogSite& site);

/// Maps the first `len` bytes of the object, reserves their memory, sets `hdr`, and records which
/// object it is. Closes `fd`.
[[nodiscard]] bool mapHeader(ShareMemoryHandle* hdl, int fd, off_t len, const LogSite& site);

void unmapPhysicalMemory(const ShareMemoryHandle* hdl, const LogSite& site);

/// Unmaps the header and the data behind it.
void unmapHeader(const ShareMemoryHandle* hdl, const LogSite& site);

}  // namespace cabinaudio
