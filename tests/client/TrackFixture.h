// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/client/PlaybackFixture.h"

namespace cabinaudio::test {

/// A track named "trk" against a scripted server.
class TrackFixture : public PlaybackFixture {
protected:
    static constexpr std::uint32_t FINISHED = 4;

    TrackFixture() : PlaybackFixture(Playing::Track) {}

    std::unique_ptr<audio::QVAudioTrack>& track = stream;
};

}  // namespace cabinaudio::test
