// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace cabinaudio::test {

/// Measures for how long the machine let nothing run. A test of a server at real pace proves
/// nothing when it stood still for longer than a ring holds: Main.cpp runs it again then.
///
/// A process of its own, so that tests may count threads and fork.
class Metronome {
public:
    /// The first call starts it; it ends with the process that is the caller.
    static void start();

    /// How much later than it wanted to it has woken up at worst; 0 before start().
    [[nodiscard]] static std::chrono::milliseconds longestPause();
};

}  // namespace cabinaudio::test
