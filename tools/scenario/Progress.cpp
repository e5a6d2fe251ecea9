// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Progress.h"

#include "tools/scenario/Moment.h"

#include <utility>

namespace cabinaudio::tool::scenario {

bool Progress::update() {
    const bool hasOneEnded = mPrograms.update();
    const TimeState before = std::exchange(mTime, timeState(mServer.ask(0, "time")));
    return hasOneEnded || mTime.frame != before.frame;
}

std::string Progress::standing() const {
    std::string text =
        "; time stands at " + std::to_string(milliseconds({mTime.frame, ""}, mRate)) + " ms";
    if (!mTime.waitingFor.empty()) text += " for " + mTime.waitingFor;
    const std::string running = mPrograms.running();
    text += running.empty() ? ", no program runs" : ", still running: " + running;
    return text + mPrograms.failures();
}

}  // namespace cabinaudio::tool::scenario
