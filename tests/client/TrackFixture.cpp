// SPDX-License-Identifier: Apache-2.0
#include "tests/client/TrackFixture.h"

namespace cabinaudio::test {

void ATrack::acceptStreams(unsigned size, int perLoopSize) {
    ringSize = size;
    server.on(CREATE, Answer::words(0, 0, size, perLoopSize, 0, 0, 0));
    server.on(GET_RING, Answer::words(0, RING_ADDRESS, size));
}

void ATrack::makeAlternative(unsigned size, int perLoopSize) {
    acceptStreams(size, perLoopSize);
    serverRing.reset();  // removes the name
    serverRing = posixRing("trk", size);
    AudioFormatDesc format = cdFormat();
    track = std::make_unique<ClientTrack>("trk", AUDIO_TAG_ALTERNATIVE, format, 0);
    ASSERT_GT(track->getTotalBufferSize(), 0) << log.dump();
}

void ATrack::makeAuxiliary(unsigned size, int perLoopSize) {
    acceptStreams(size, perLoopSize);
    AudioFormatDesc format = cdFormat();
    track = std::make_unique<ClientTrack>("trk", AUDIO_TAG_AUXILIARY, format, 0);
    ASSERT_EQ(track->getPerLoopSize(), perLoopSize) << log.dump();
}

void ATrack::prepareRing(unsigned address) {
    serverRing = physicalRing("trk", ringSize, address);
    ASSERT_TRUE(serverRing->isUsable()) << log.dump();
}

void ATrack::announceRing() {
    prepareRing();
    server.notify(RING_READY, 0, server.clients() - 1);  // to the newest track
    ASSERT_TRUE(log.waitForMatching(INFO, "\\[trk\\]share memory ready size.*\n")) << log.dump();
}

void ATrack::start() {
    ASSERT_EQ(track->start(), AUDIO_NO_ERROR) << log.dump();
}

int ATrack::write(int bytes, bool isBlock) {
    return track->write(data.data(), bytes, isBlock);
}

void ATrack::fillRing() {
    const int free = track->bytesFree();
    ASSERT_EQ(write(free, false), free) << log.dump();
    ASSERT_EQ(track->bytesFree(), 0);
}

std::future<int> ATrack::blockedWrite(int bytes) {
    return blocked([this, bytes] { return write(bytes, true); }, AUDIO_INVALID_OPERATION);
}

}  // namespace cabinaudio::test
