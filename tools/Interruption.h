// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Event.h"

#include <string>

namespace cabinaudio::tool {

/// The user's wish to end (SIGINT, SIGTERM, SIGHUP). The first signal is noted, so that the
/// sub-command can end in good order; a second one kills at once. One object in a process.
///
/// The signals are blocked from construction on in the constructing thread and in every thread
/// that it starts: no call of the library is ever cut short by one. They arrive in the one thread
/// that calls receiveHere(). A signal that is ignored already stays ignored.
class Interruption {
public:
    Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// Lets the signals into the calling thread.
    static void receiveHere();

    /// Happens with the first signal.
    [[nodiscard]] const Event& event() const { return mEvent; }
    [[nodiscard]] bool hasHappened() const;
    /// Of the signal, such as "SIGINT".
    [[nodiscard]] std::string signalName() const;

private:
    static void note(int signal);

    Event mEvent;
};

}  // namespace cabinaudio::tool
