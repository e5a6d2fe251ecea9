// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::bench {

/// Gives this program, and what it executes, socket and object names of its own, so that it meets
/// no server that runs on this machine. Needs the board stand-in in the program. Its end removes
/// what has been left in shared memory under these names.
class PrivateInstance {
public:
    PrivateInstance();
    ~PrivateInstance();
    PrivateInstance(const PrivateInstance&) = delete;
    PrivateInstance& operator=(const PrivateInstance&) = delete;

private:
    std::string mName;
};

/// Keeps this process, and all that it starts from now on, on one CPU. Where every wake-up stays on
/// one CPU the figures repeat; across CPUs they vary by several times from round to round.
/// @param cpu  number, or -1 for the last one that the process may use
/// @return the number
int stayOnOneCpu(int cpu);

/// Gives the calling process what the library's threads have: SCHED_RR, highest priority.
/// @return false when the system refuses it
bool becomeRealTime();

/// Whether threads of this process may have real-time scheduling.
bool mayBeRealTime();

/// The load averages as the kernel prints them: 1, 5 and 15 minutes.
std::string loadAverages();

/// Processor, kernel, C library in one line.
std::string describeMachine();

}  // namespace cabinaudio::bench
