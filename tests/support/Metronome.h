// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace cabinaudio::test {

/// Measures for how long the machine let nothing run. A test of a server at real pace proves
/// nothing when it stood still for longer than the sound that is queued: Interruptions.h runs it
/// again.
///
/// A process of its own, so that tests may count threads and fork.
class Metronome {
public:
    /// The first call starts it; it ends with the process that is the caller.
    static void start();

    /// For a process that becomes another program.
    static void end();

    /// The longest pause and the bridged one are those of one test case.
    static void startCase();

    /// How much later than it wanted to it has woken up at worst; 0 before start().
    [[nodiscard]] static std::chrono::milliseconds longestPause();

    /// The pause that the tested programs bridge, usually 100 ms: what is less, the rings of a
    /// server at real pace hold. A test that fails after a longer one is run again.
    static void setBridged(std::chrono::milliseconds pause);
    [[nodiscard]] static std::chrono::milliseconds bridged();
};

}  // namespace cabinaudio::test
