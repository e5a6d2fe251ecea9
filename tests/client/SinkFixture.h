// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/client/PlaybackFixture.h"

namespace cabinaudio::test {

/// A sink named "snk" against a scripted server.
class SinkFixture : public PlaybackFixture {
protected:
    static constexpr std::uint32_t ACTIVATED = RING_READY;
    static constexpr std::uint32_t WITHDRAWN = 4;
    static constexpr std::uint32_t FINISHED = 5;

    SinkFixture() : PlaybackFixture(Playing::Sink) {}

    /// A created sink, without a source yet.
    void make(int perLoopSize = 1024, AudioFormatDesc format = cdFormat(), int streamParam = 0) {
        acceptStreams(ringSize, perLoopSize);
        sink = create(name(), AUDIO_TAG_MAIN, format, streamParam);
        ASSERT_EQ(sink->getPerLoopSize(), perLoopSize) << log.dump();
    }
    void makeActive(int perLoopSize = 1024, AudioFormatDesc format = cdFormat()) {
        make(perLoopSize, format);
        start();
    }

    /// Activates the source and waits until the sink has it.
    void activate(unsigned size = 4096) { giveRing(size); }
    /// Withdraws the source and waits until the sink has acknowledged it.
    void withdraw() {
        server.notify(WITHDRAWN, 0, newest());
        settle();
        ASSERT_EQ(sink->getTotalBufferSize(), 0) << log.dump();
    }

    std::unique_ptr<audio::QVAudioTrack>& sink = stream;
};

}  // namespace cabinaudio::test
