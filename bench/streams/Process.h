// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::bench {

/// Resident memory of this process in KiB. Exact, unlike the kernel's running counters, and read
/// without allocating.
struct Memory {
    long resident;  ///< all pages in memory, also those shared with other processes
    long own;       ///< of these the ones that no other process has
};
Memory memoryNow();

/// Brings all files that are mapped into this process into its memory, but for one library's. In a
/// process that has been at work for a while the C and C++ libraries are there already, and count
/// for none of their users.
/// @param exempt  begin of the library's file name
void touchMappedFilesExcept(const std::string& exempt);

/// Threads of this process, the calling one included.
int threadCount();

/// Runs this program once more with one argument.
/// @return what it wrote to its standard output
std::string outputOfThisProgram(const std::string& argument);

}  // namespace cabinaudio::bench
