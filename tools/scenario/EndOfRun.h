// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/PartServer.h"
#include "tools/scenario/Programs.h"
#include "tools/scenario/Progress.h"
#include "tools/scenario/Scenario.h"
#include "tools/scenario/Wait.h"

#include <cstdint>

namespace cabinaudio::tool::scenario {

/// The end of the last part, where no frame decides it: that of a stream or of the programs.
class EndOfRun {
public:
    EndOfRun(const Scenario& scenario, const Wait& wait, PartServer& server, Programs& programs,
             Progress& progress)
        : mScenario(scenario),
          mWait(wait),
          mServer(server),
          mPrograms(programs),
          mProgress(progress) {}

    /// The server lets time stand when the stream of `until` ends.
    void announce();

    /// Waits for the stream of `until`, or for all programs. Time passes meanwhile.
    /// @param last  a frame that time need not reach
    /// @throws Overdue, NotFulfilled, and as PartServer::ask()
    void await(std::uint64_t last);

    /// The same for all programs, without a server.
    void awaitPrograms();

    /// Programs with an expected end may still end by themselves; time stands meanwhile. Each of
    /// them has its own expectation, so a wait that takes too long is no error here.
    void awaitExpected();

private:
    void awaitStream();

    const Scenario& mScenario;
    const Wait& mWait;
    PartServer& mServer;
    Programs& mPrograms;
    Progress& mProgress;
};

}  // namespace cabinaudio::tool::scenario
