// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::bench {

/// Gives this program, and programs that it executes, private socket and object names, so that it
/// does not reach a server running on this machine. Needs the board stand-in in the program. The
/// destructor removes leftovers under these names from shared memory.
class PrivateInstance {
public:
    PrivateInstance();
    ~PrivateInstance();
    PrivateInstance(const PrivateInstance&) = delete;
    PrivateInstance& operator=(const PrivateInstance&) = delete;

private:
    std::string mName;
};

/// Pins this process, and all that it starts from now on, to one CPU. With all wake-ups on one CPU
/// the figures are repeatable; across CPUs they vary by several times between rounds.
/// @param cpu  number, or -1 for the last permitted one
/// @return the number
int pinToCpu(int cpu);

/// Gives the calling process the scheduling of the library's threads: SCHED_RR, highest priority.
/// @return false when the system refuses it
bool becomeRealTime();

/// Whether threads of this process may have real-time scheduling.
bool mayBeRealTime();

/// The load averages as the kernel prints them: 1, 5 and 15 minutes.
std::string loadAverages();

/// Processor, kernel, C library in one line.
std::string describeMachine();

}  // namespace cabinaudio::bench
