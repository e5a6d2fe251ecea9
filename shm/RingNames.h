// SPDX-License-Identifier: Apache-2.0
#pragma once

struct ShareMemoryHandle;

// The object names that the rings of this process use. A ring that is announced again is mapped
// before the earlier ring of the same name is deleted. If that deletion removed the name, the next
// side to open it would create an empty object of its own, so only the youngest ring removes the
// name. Rings with and without SHM_MODE_CREATOR are the two sides of a ring and are treated
// separately: each side removes the name, even within one process.

namespace cabinaudio {

/// Called before the ring opens its object: from then on, a deletion on another thread leaves the
/// name to this ring.
void addRingName(ShareMemoryHandle& hdl);

/// Removes the object's name, unless a younger ring of the same side uses it or this ring keeps it.
/// @return false with errno set when the name could not be removed
[[nodiscard]] bool dropRingName(ShareMemoryHandle& hdl);

}  // namespace cabinaudio
