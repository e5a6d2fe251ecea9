// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Failure.h"
#include "tools/Interruption.h"

#include <chrono>
#include <functional>
#include <string>

namespace cabinaudio::tool::scenario {

/// Thrown when a wait has seen no progress for too long.
class Overdue : public Failure {
public:
    /// @param line  of the scenario's file that asks for the wait; 0: none
    Overdue(unsigned line, const std::string& text) : Failure(text), mLine(line) {}

    [[nodiscard]] unsigned line() const { return mLine; }

private:
    unsigned mLine;
};

/// The waits of a scenario. They poll, with short pauses: processes, answers and time have no
/// descriptor in common.
class Wait {
public:
    /// @param patience  of the server: it names the stream that it waits for, so the waits here
    ///                  end later
    Wait(const Interruption& interruption, std::chrono::milliseconds patience)
        : mInterruption(interruption), mBound(2 * patience) {}

    /// Waits until the condition holds.
    /// @param progress  called before each look at the condition; true begins the bound anew
    /// @throws Overdue, and Failure after an interruption
    void until(unsigned line, const std::string& what, const std::function<bool()>& progress,
               const std::function<bool()>& condition) const;

    /// @return whether the condition holds in time
    /// @throws Failure after an interruption
    [[nodiscard]] bool atMost(std::chrono::milliseconds bound,
                              const std::function<bool()>& condition) const;

    /// @throws Failure after an interruption
    void requireNoInterruption() const;

private:
    void pause() const;

    const Interruption& mInterruption;
    const std::chrono::milliseconds mBound;
};

}  // namespace cabinaudio::tool::scenario
