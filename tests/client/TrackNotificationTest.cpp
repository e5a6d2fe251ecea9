// SPDX-License-Identifier: Apache-2.0
#include "tests/client/TrackFixture.h"
#include "tests/support/ProcessState.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace cabinaudio::test {
namespace {

class ATracksNotification : public ATrack {};

class CountingCallback : public audio::QVAudioTrackCallback {
public:
    void finish(bool flag) override {
        EXPECT_FALSE(flag);
        ++finished;
    }
    std::atomic<int> finished{0};
};

TEST_F(ATracksNotification, OfAReadyRingMapsTheRingThatTheServerNames) {
    makeAuxiliary(3000, 512);
    announceRing();
    const std::vector<Request> asked = server.requests(GET_RING);
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_EQ(asked[0].header.cmd, 198U);
    EXPECT_EQ(asked[0].payload.size(), 4U);
    EXPECT_EQ(track->getTotalBufferSize(), 3000);
    EXPECT_EQ(track->bytesFree(), 2999);
    EXPECT_EQ(log.countMatching(
                  INFO, "\\[trk\\]share memory ready size\\[3000\\] \\[cast:[0-9]+ ms\\]\n"),
              1U)
        << log.dump();
    const std::vector<std::string> names = ProcessState::now().shmNames;
    EXPECT_TRUE(std::any_of(names.begin(), names.end(), [](const std::string& name) {
        return name.find("trk_0x100000") != std::string::npos;
    })) << ::testing::PrintToString(names);
}

TEST_F(ATracksNotification, OfAnotherReadyRingReplacesTheFirstOne) {
    makeAuxiliary(3000, 512);
    announceRing();
    const std::size_t threads = ProcessState::now().threads;
    std::unique_ptr<ShareMemoryEx> firstRing = std::move(serverRing);
    const unsigned other = RING_ADDRESS + 0x10000;
    server.on(GET_RING, Answer::words(0, other, 5000));
    ringSize = 5000;
    prepareRing(other);
    server.notify(RING_READY, 0);
    ASSERT_TRUE(log.waitForMatching(INFO, "\\[trk\\]share memory ready size\\[5000\\].*\n"))
        << log.dump();
    EXPECT_EQ(track->getTotalBufferSize(), 5000);
    // The first ring's receiver ends after the new ring has been announced.
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads == threads; }));
    start();
    EXPECT_EQ(write(100, true), 100);
    EXPECT_EQ(serverRing->getUsedSize(), 100U);
    EXPECT_EQ(firstRing->getUsedSize(), 0U);
}

TEST_F(ATracksNotification, OfAReadyRingSaysWhenItsRequestCannotBeMade) {
    makeAuxiliary();
    server.on(KEY_SHIFT, Answer::status(0).held());
    std::future<int> shift =
        std::async(std::launch::async, [&] { return track->setKeyShift(1.0F); });
    ASSERT_TRUE(server.waitForRequest(KEY_SHIFT));
    server.notify(RING_READY, 0);
    EXPECT_TRUE(log.waitFor(ERROR, "[trk]mRc->rcalloc return failed, ret:-2992\n")) << log.dump();
    server.release();
    EXPECT_EQ(shift.get(), AUDIO_NO_ERROR);
    EXPECT_EQ(track->getTotalBufferSize(), 0);
}

TEST_F(ATracksNotification, OfTheEndOfPlaybackReachesTheCallbackWithoutTheLock) {
    makeAuxiliary();
    // Uses the track from inside: would never return if the lock were held.
    struct UsingCallback : audio::QVAudioTrackCallback {
        explicit UsingCallback(ClientTrack& used) : track(used) {}
        void finish(bool) override { stopped = track.stop(); }
        ClientTrack& track;
        std::atomic<int> stopped{-1};
    } callback(*track);
    EXPECT_EQ(track->setCallback(&callback), AUDIO_NO_ERROR);
    start();
    ASSERT_EQ(track->writeDone(), AUDIO_NO_ERROR);
    server.notify(FINISHED, 0);
    ASSERT_TRUE(log.waitForMatching(INFO, "\\[trk\\]play finish, elapsedTime\\[[0-9]+\\] \n"))
        << log.dump();
    EXPECT_EQ(callback.stopped, AUDIO_NO_ERROR);
}

TEST_F(ATracksNotification, OfTheEndOfPlaybackNeedsNoCallback) {
    makeAuxiliary();
    server.notify(FINISHED, 0);
    EXPECT_TRUE(log.waitForMatching(INFO, "\\[trk\\]play finish, elapsedTime\\[[0-9]+\\] \n"));
}

TEST_F(ATracksNotification, OfTheEndOfPlaybackGoesNowhereOnceTheCallbackWasTakenBack) {
    makeAuxiliary();
    CountingCallback callback;
    EXPECT_EQ(track->setCallback(&callback), AUDIO_NO_ERROR);
    server.notify(FINISHED, 0);
    ASSERT_TRUE(log.waitForMatching(INFO, "\\[trk\\]play finish.*\n"));
    EXPECT_EQ(callback.finished, 1);
    EXPECT_EQ(track->setCallback(nullptr), AUDIO_NO_ERROR);
    server.notify(FINISHED, 0);
    ASSERT_TRUE(log.waitForMatching(INFO, "\\[trk\\]play finish.*\n", 2));
    EXPECT_EQ(callback.finished, 1);
}

TEST_F(ATracksNotification, ThatIsUnknownIsLogged) {
    makeAuxiliary();
    server.notify(5, 77);
    EXPECT_TRUE(log.waitFor(ERROR, "unknown msg(5), value=77\n")) << log.dump();
    EXPECT_EQ(log.count(ERROR, "ClientTrack", "notifierCallbackFunc", "unknown msg(5), value=77\n"),
              1U);
}

TEST_F(ATracksNotification, WithoutATrackIsLogged) {
    ClientTrack::notifierCallbackFunc(nullptr, RING_READY, 0);
    EXPECT_EQ(log.count(ERROR, "ClientTrack", "notifierCallbackFunc", "current track is NULL\n"),
              1U);
}

/// The ring is looked at without the lock while the server replaces it again and again.
TEST_F(ATracksNotification, OfNewRingsNeverPullsARingFromUnderAReader) {
    makeAuxiliary(3000, 512);
    announceRing();
    std::atomic<bool> end{false};
    std::atomic<int> wrong{0};
    std::thread reader([&] {
        while (!end) {
            const int total = track->getTotalBufferSize();
            const int free = track->bytesFree();
            if ((total != 0 && total != 3000) || free > 2999) ++wrong;
        }
    });
    for (std::size_t round = 2; round < 30; ++round) {
        server.notify(RING_READY, 0);
        ASSERT_TRUE(log.waitForMatching(INFO, "\\[trk\\]share memory ready.*\n", round));
    }
    end = true;
    reader.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace cabinaudio::test
