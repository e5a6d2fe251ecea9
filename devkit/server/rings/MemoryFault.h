// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A client shares the objects of its rings, so it can truncate them; the server's next access
/// would raise SIGBUS and end the process. Instead the handler replaces the page by zeros, which
/// read as an empty ring, and records the fault for the faulting thread: the event loop's or a
/// ring's receiver.
namespace cabinaudio::server::memory_fault {

/// Call once, at the start of the process.
void install();

/// Whether an access of this thread has faulted since the last call.
bool take();

}  // namespace cabinaudio::server::memory_fault
