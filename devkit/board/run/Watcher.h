// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/run/Descriptor.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace cabinaudio::run {

/// A process beside the program that waits for the answer of the preloaded library in exactly that
/// process. The dry run has shown that the library will be loaded; if the real run differs, the
/// watcher ends the program.
///
/// It is a child of init in its own session, and exits after the answer; for a private instance it
/// stays until the program's end and then cleans up.
class Watcher {
public:
    struct Duty {
        std::string program;             // for the message
        std::uint16_t machine;           // machine of the expected library
        std::chrono::seconds timeout;    // for the answer
        const char* library;             // that answers, for the message
        std::string instanceToRemove{};  // "" to remove nothing
    };

    /// Starts it. @throws Refusal
    explicit Watcher(const Duty& duty);

    /// Offers the handshake to the program that this process execs next.
    void offer() const;

    /// Ends the watcher: the exec has failed.
    void dismiss() const;

private:
    Descriptor mOffered;
};

}  // namespace cabinaudio::run
