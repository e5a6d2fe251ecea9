// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Event.h"

#include <string>

namespace cabinaudio::tool {

/// The user's request to end (SIGINT, SIGTERM, SIGHUP). The first signal is recorded, so that the
/// sub-command can end in good order; a second one kills at once. At most one object per process.
///
/// The constructor blocks the signals in the calling thread and in every thread that it creates
/// later, so that no library call is interrupted. The thread that calls receiveHere() receives
/// them. A signal that is already ignored stays ignored.
class Interruption {
public:
    Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// Unblocks the signals in the calling thread.
    static void receiveHere();

    /// Set by the first signal.
    [[nodiscard]] const Event& event() const { return mEvent; }
    [[nodiscard]] bool hasHappened() const;
    /// Name of the signal, such as "SIGINT".
    [[nodiscard]] std::string signalName() const;

private:
    static void note(int signal);

    Event mEvent;
};

}  // namespace cabinaudio::tool
