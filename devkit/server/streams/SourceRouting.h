// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/streams/PlaybackStream.h"

#include <chrono>
#include <vector>

namespace cabinaudio::server {

/// Which sink is the source of the main output: one at a time. The newest one is, or the one that
/// was selected after it came; the others are withdrawn. When it goes or is withdrawn, the one that
/// was before it is again.
class SourceRouting {
public:
    /// @param delay  before a sink is told that its source is active
    explicit SourceRouting(std::chrono::milliseconds delay) : mDelay(delay) {}

    /// The sink is the source from now on, whether it is known already or not.
    void activate(PlaybackStream& sink);
    /// The sink is not the source until it is activated again.
    void withdraw(const PlaybackStream& sink);
    /// The client has let go of its source. When nobody asked it to, it does not want it any more.
    void letGo(PlaybackStream& sink);
    /// The sink is about to be destroyed: it is not told anything.
    void forget(const PlaybackStream& sink);

    [[nodiscard]] const PlaybackStream* active() const { return mActive; }

private:
    void route();

    std::chrono::milliseconds mDelay;
    std::vector<PlaybackStream*> mCandidates;  // the last one is the source
    PlaybackStream* mActive = nullptr;
};

}  // namespace cabinaudio::server
