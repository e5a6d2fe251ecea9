// SPDX-License-Identifier: Apache-2.0
#pragma once

struct ShareMemoryHandle;

// A ring's receiver thread, from the end of construction to the start of destruction.

namespace cabinaudio {

/// Flags in the header that this side wants wake-ups, and starts the thread. A mode with neither
/// reader nor writer is logged and starts no thread.
void initShmNotificationReceiver(ShareMemoryHandle* hdl);

/// Stops the thread and waits for a notify() in progress. When called from notify(), lets the
/// thread end by itself.
void uninitShmNotificationReceiver(ShareMemoryHandle* hdl);

}  // namespace cabinaudio
