// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace cabinaudio::contract {

using Clock = std::chrono::steady_clock;

/// What the checks of all rules share: the bound of every wait, and the user's wish to end.
class Session {
public:
    /// @param patience  bound of every wait for the server
    /// @param stop      readable once the run must end; -1: never
    Session(std::chrono::milliseconds patience, int stop) : mPatience(patience), mStop(stop) {}

    [[nodiscard]] Clock::time_point deadline() const { return Clock::now() + mPatience; }
    [[nodiscard]] std::chrono::milliseconds patience() const { return mPatience; }
    /// "2 s", for messages.
    [[nodiscard]] std::string patienceText() const;

    /// Waits until `descriptor` is readable or closed. @return false at the deadline
    /// @throws Interrupted when the run must end
    [[nodiscard]] bool waitFor(int descriptor, Clock::time_point deadline) const;
    /// Between two looks at shared memory, which reports no change. @throws Interrupted
    void pause() const;
    /// Waits until `holds` returns true. @return false when it did not in time
    template <typename Condition>
    [[nodiscard]] bool eventually(Condition holds) const {
        const Clock::time_point end = deadline();
        while (!holds()) {
            if (Clock::now() >= end) return holds();
            pause();
        }
        return true;
    }

    /// The same without the user's wish to end: settings are set back after it.
    [[nodiscard]] Session unstoppable() const { return {mPatience, -1}; }

    /// The rule that is being checked. Streams are registered under this name, so that the server's
    /// log tells which rule a line belongs to.
    std::string rule;
    /// Settings that could not be set back, with the reason.
    std::vector<std::string> notRestored;

private:
    std::chrono::milliseconds mPatience;
    int mStop;
};

}  // namespace cabinaudio::contract
