// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/client/PlaybackFixture.h"

namespace cabinaudio::test {

/// A track named "trk" against a scripted server.
class TrackFixture : public PlaybackFixture {
protected:
    static constexpr std::uint32_t FINISHED = 4;

    TrackFixture() : PlaybackFixture(Playing::Track) {}

    /// A created alternative track with its ring.
    void makeAlternative(unsigned size = 4096, int perLoopSize = 1024) {
        makeWithRing(size, perLoopSize);
    }
    /// A created auxiliary track, without a ring yet.
    void makeAuxiliary(unsigned size = 4096, int perLoopSize = 1024) {
        makeIdle(size, perLoopSize);
    }
    /// Announces the auxiliary track's ring and waits until the track has it.
    void announceRing() { giveRing(); }

    std::unique_ptr<audio::QVAudioTrack>& track = stream;
};

}  // namespace cabinaudio::test
