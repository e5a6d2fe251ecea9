// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::test {

/// Failures of the layers below that no server can produce. They end with this object.
class Faults {
public:
    Faults() = default;
    ~Faults();
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

    /// RemoteCall::rcalloc() refuses. Blocks of callFuncId() are among them.
    void refuseBlocks(bool does);
    /// RemoteCall::rcfree() frees, but reports a failure.
    void failFreeing(bool does);
    /// Rings take no bytes.
    void takeNothing(bool does);
    /// Rings give no bytes.
    void giveNothing(bool does);
};

}  // namespace cabinaudio::test
