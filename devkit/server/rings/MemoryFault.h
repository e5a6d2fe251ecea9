// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A client shares the objects that hold its rings, so it can shorten them under the server; the
/// next access would end the process with SIGBUS. Here such a page is replaced by one of zeros,
/// which reads as a ring without data, and the fault is remembered. That is done in whichever
/// thread has stumbled: the event loop's, or a ring's receiver.
namespace cabinaudio::server::memory_fault {

/// Once, at the start of the process.
void install();

/// Whether a page was replaced since the last call, under an access of this thread.
bool take();

}  // namespace cabinaudio::server::memory_fault
