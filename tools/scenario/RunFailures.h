// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Failure.h"

#include <string>

/// Why a run ends early. A plain Failure is a fault of the surroundings: the server has died, a
/// file cannot be written. With ExitCode::Usage it is an error of the scenario's file.
namespace cabinaudio::tool::scenario {

/// The user wants the run to end. Its results are dropped.
class Interrupted : public Failure {
public:
    using Failure::Failure;
};

/// A line of the scenario's file did not come true: an expectation that nobody had to write.
class NotFulfilled : public Failure {
public:
    /// @param line  0: none
    NotFulfilled(unsigned line, const std::string& text)
        : Failure(text, ExitCode::CheckNotMet), mLine(line) {}

    [[nodiscard]] unsigned line() const { return mLine; }

private:
    unsigned mLine;
};

/// A wait has seen no progress for too long.
class Overdue : public NotFulfilled {
public:
    using NotFulfilled::NotFulfilled;
};

}  // namespace cabinaudio::tool::scenario
