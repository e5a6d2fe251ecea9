// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::test {

/// Lets one allocation by `operator new` fail, in the C++ library as well. Counts those of the
/// thread that made this object, as long as it lives; one at a time in a thread.
class FailingMemory {
public:
    /// @param which  of the next allocations, from 1
    explicit FailingMemory(int which);
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

    /// Whether this build lets allocations fail.
    [[nodiscard]] static bool isPossible();

    /// Whether that allocation has come.
    [[nodiscard]] bool hasFailed() const;
};

}  // namespace cabinaudio::test
