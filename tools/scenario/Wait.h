// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Interruption.h"
#include "tools/scenario/RunFailures.h"

#include <chrono>
#include <functional>
#include <string>

namespace cabinaudio::tool::scenario {

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
    /// @throws Overdue, Interrupted
    void until(unsigned line, const std::string& what, const std::function<bool()>& progress,
               const std::function<bool()>& condition) const;

    /// @return whether the condition holds in time
    /// @throws Interrupted
    [[nodiscard]] bool atMost(std::chrono::milliseconds bound,
                              const std::function<bool()>& condition) const;

    /// The same, and an interruption does not end the wait.
    [[nodiscard]] static bool regardless(std::chrono::milliseconds bound,
                                         const std::function<bool()>& condition);

    /// @throws Interrupted
    void requireNoInterruption() const;

    /// Without progress, until() ends after this time.
    [[nodiscard]] std::chrono::milliseconds bound() const { return mBound; }

private:
    void pause() const;

    const Interruption& mInterruption;
    const std::chrono::milliseconds mBound;
};

}  // namespace cabinaudio::tool::scenario
