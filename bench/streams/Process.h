// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::bench {

/// Resident memory of this process in KiB. Exact, unlike the kernel's running counters, and read
/// without allocating memory.
struct Memory {
    long resident;  // all pages in memory, also those shared with other processes
    long own;       // pages that no other process shares
};
Memory memoryNow();

/// Faults in all files that are mapped into this process, except one library's. In a long-running
/// process the C and C++ libraries are already in memory, and cost none of their users anything.
/// @param exempt  beginning of the library's file name
void touchMappedFilesExcept(const std::string& exempt);

/// Number of threads of this process, including the calling one.
int threadCount();

/// Runs this program again with one argument.
/// @return its standard output
std::string outputOfThisProgram(const std::string& argument);

}  // namespace cabinaudio::bench
