// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/run/Descriptor.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace cabinaudio::run {

/// A process beside the program that waits for the board library's answer out of that
/// very process. The dry run has said that the library will be loaded; should the real
/// run differ, the watcher ends the program.
///
/// It is nobody's child but init's, in a session of its own, and ends with the answer;
/// that of a private instance stays until the program's end and then cleans up.
class Watcher {
public:
    struct Duty {
        std::string program;             // its name, for the message
        std::uint16_t machine;           // whose library is to answer
        std::chrono::seconds timeout;    // for the answer
        std::string instanceToRemove{};  // "" to leave all as it is
    };

    /// Starts it. @throws Refusal
    explicit Watcher(const Duty& duty);

    /// Offers the hand-shake to the program that this process execs next.
    void offer() const;

    /// Sends the watcher away: the exec has failed.
    void dismiss() const;

private:
    Descriptor mOffered;
};

}  // namespace cabinaudio::run
