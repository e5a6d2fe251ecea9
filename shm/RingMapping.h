// SPDX-License-Identifier: Apache-2.0
#pragma once

struct ShareMemoryHandle;

// The memory of a whole ring: data, header and cache device. Mapping.h maps the individual parts.

namespace cabinaudio {

/// Maps data and header, initialises the header on the creator's side and opens the cache device of
/// a ring in physical memory. A failure is logged; parts already mapped stay mapped.
/// @param name  the name given by the caller, for the log
[[nodiscard]] bool createShmMap(ShareMemoryHandle* hdl, const char* name);

/// Unmaps and closes the existing parts, then removes the object's name.
void destroyShmMap(ShareMemoryHandle* hdl);

}  // namespace cabinaudio
