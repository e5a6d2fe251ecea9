// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/streams/PlaybackStream.h"

#include <chrono>
#include <vector>

namespace cabinaudio::server {

/// Selects the sink that is the source of the main output, one at a time: the newest one, or the
/// one activated last. All others are withdrawn. When the source goes or is withdrawn, the previous
/// one takes over.
class SourceRouting {
public:
    /// @param delay  before a sink is notified that its source is active
    explicit SourceRouting(std::chrono::milliseconds delay) : mDelay(delay) {}

    /// Makes the sink the source, whether it is known already or not.
    void activate(PlaybackStream& sink);
    /// The sink stops being the source until it is activated again.
    void withdraw(const PlaybackStream& sink);
    /// The client has unmapped its ring. Unless the sink was withdrawn, this also gives up the
    /// source.
    void onRingUnmapped(PlaybackStream& sink);
    /// The sink is about to be destroyed and gets no notification.
    void forget(const PlaybackStream& sink);

    [[nodiscard]] const PlaybackStream* active() const { return mActive; }

private:
    void route();

    std::chrono::milliseconds mDelay;
    std::vector<PlaybackStream*> mCandidates;  // the last one is the source
    PlaybackStream* mActive = nullptr;
};

}  // namespace cabinaudio::server
