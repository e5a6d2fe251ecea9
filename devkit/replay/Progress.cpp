// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/Progress.h"

#include <chrono>

namespace cabinaudio::replay {

namespace {

constexpr std::chrono::milliseconds QUIET{200};

}  // namespace

Progress::Progress(const Conversation& conversation) {
    for (const Step& step : conversation.steps)
        mIsAwaited.push_back(step.kind == Step::Kind::Request);
    mIsAwaited.push_back(true);  // the end
    while (!mIsAwaited[mFirst])
        ++mFirst;
}

void Progress::received(std::size_t step) {
    if (step + 1 < mIsAwaited.size()) mIsAwaited[step] = false;
    while (!mIsAwaited[mFirst])
        ++mFirst;
    touch();
}

bool Progress::isReached(std::size_t step) const {
    return mFirst > step || idle() >= QUIET;
}

}  // namespace cabinaudio::replay
