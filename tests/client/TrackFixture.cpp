// SPDX-License-Identifier: Apache-2.0
#include "tests/client/TrackFixture.h"

#include <atomic>
#include <semaphore>
#include <thread>

namespace cabinaudio::test {

AudioFormatDesc cdFormat() {
    return {0, 48000, 0, AUDIO_CHANNEL_MAP_2, 0, AUDIO_BIT_DEPTH_16};
}

void ATrack::acceptStreams(unsigned size, int perLoopSize) {
    ringSize = size;
    server.on(CREATE, Answer::words(0, 0, size, perLoopSize, 0, 0, 0));
    server.on(GET_RING, Answer::words(0, RING_ADDRESS, size));
}

void ATrack::makeAlternative(unsigned size, int perLoopSize) {
    acceptStreams(size, perLoopSize);
    serverRing.reset();  // removes the name
    serverRing = std::make_unique<ShareMemoryEx>(SHM_TYPE_POSIX_SHM, "trk", nullptr, size,
                                                 SHM_MODE_CREATOR, nullptr);
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
    serverRing = std::make_unique<ShareMemoryEx>(
        SHM_TYPE_PHYS_MEM, "trk",
        reinterpret_cast<const unsigned char*>(static_cast<std::uintptr_t>(address)), ringSize,
        SHM_MODE_CREATOR, nullptr);
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
    struct FirstEnd {
        std::atomic<int> who{-1};
        std::binary_semaphore ended{0};
    };
    const auto first = std::make_shared<FirstEnd>();
    std::future<int> writes[2];
    for (int i = 0; i < 2; ++i)
        writes[i] = std::async(std::launch::async, [this, bytes, first, i] {
            const int result = write(bytes, true);
            int nobody = -1;
            if (first->who.compare_exchange_strong(nobody, i)) first->ended.release();
            return result;
        });
    first->ended.acquire();
    const int refused = first->who;
    EXPECT_EQ(writes[refused].get(), AUDIO_INVALID_OPERATION) << log.dump();
    return std::move(writes[1 - refused]);
}

}  // namespace cabinaudio::test
