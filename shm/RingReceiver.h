// SPDX-License-Identifier: Apache-2.0
#pragma once

struct ShareMemoryHandle;

// A ring's receiver thread, from the end of construction to the start of destruction.

namespace cabinaudio {

/// Says in the header that this side waits, and starts the thread. A mode without reader and writer
/// is logged, and there is no thread.
void initShmNotificationReceiver(ShareMemoryHandle* hdl);

/// Stops the thread and waits for a notify() under way; called out of notify(), leaves the thread
/// to end by itself.
void uninitShmNotificationReceiver(ShareMemoryHandle* hdl);

}  // namespace cabinaudio
