// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/PartServer.h"
#include "tools/scenario/Programs.h"
#include "tools/scenario/TimeState.h"

#include <string>

namespace cabinaudio::tool::scenario {

/// Whether something advances: the time of the server or a program. Waits end without it.
class Progress {
public:
    /// @param rate  of the output
    Progress(PartServer& server, Programs& programs, unsigned rate)
        : mServer(server), mPrograms(programs), mRate(rate) {}

    /// Forgets the time of the server before.
    void beginPart() { mTime = {}; }

    /// Asks for time and programs. @return whether one of them has advanced since the last call
    /// @throws as PartServer::ask()
    bool update();

    /// As of the last update.
    [[nodiscard]] const TimeState& time() const { return mTime; }

    /// Where time and programs stood, for people: "; time stands at 0 ms, ...".
    [[nodiscard]] std::string standing() const;

private:
    PartServer& mServer;
    Programs& mPrograms;
    const unsigned mRate;
    TimeState mTime;
};

}  // namespace cabinaudio::tool::scenario
