// SPDX-License-Identifier: Apache-2.0
//
// Notifications of rings and of the end of playback.
#include "tests/client/SinkFixture.h"
#include "tests/client/TrackFixture.h"
#include "tests/support/ProcessState.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace cabinaudio::test {
namespace {

class CountingCallback : public audio::QVAudioTrackCallback {
public:
    void finish(bool flag) override {
        EXPECT_FALSE(flag);
        ++finished;
    }
    std::atomic<int> finished{0};
};

class AnnouncedRing : public EachPlayback {};
INSTANTIATE_TEST_SUITE_P(Stream, AnnouncedRing, PLAYBACKS, playingName);

TEST_P(AnnouncedRing, IsMappedWhereTheServerSays) {
    makeIdle(3000, 512);
    giveRing();
    EXPECT_EQ(server.requests(GET_RING).size(), 1U);
    EXPECT_EQ(sent(GET_RING, FLAGGED), 1U);
    EXPECT_EQ(stream->getTotalBufferSize(), 3000);
    EXPECT_EQ(stream->bytesFree(), 2999);
    EXPECT_TRUE(ringHasAName(name()));
    EXPECT_TRUE(
        streamLoggedLike(INFO, text("share memory ready size\\[3000\\] \\[cast:[0-9]+ ms\\]\n",
                                    "main init shareMemory OK size:3000 cast:[0-9]+ ms\n")));
    EXPECT_TRUE(streamLoggedLike(INFO, "Source is actived duration\\[[0-9]+\\] ms\n",
                                 kind == Playing::Track ? ABSENT : 1));
    EXPECT_TRUE(server.requests(LET_GO).empty());
}

TEST_P(AnnouncedRing, ReplacesTheFirst) {
    makeIdle(3000);
    giveRing();
    const std::size_t threads = ProcessState::now().threads;
    std::unique_ptr<ShareMemoryEx> first;
    first.swap(serverRing);
    giveRing(5000, RING_ADDRESS + 0x10000);
    // The first ring's receiver ends after the new ring has been announced.
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads == threads; }));
    start();
    EXPECT_EQ(write(100, true), 100);
    EXPECT_EQ(serverRing->getUsedSize(), 100U);
    EXPECT_EQ(first->getUsedSize(), 0U);
    EXPECT_TRUE(server.requests(LET_GO).empty());
}

class PlaybackFinish : public EachPlayback {
protected:
    PlaybackFinish() { makePlayable(); }

    /// An active stream with a ring that was announced.
    void makePlayable() {
        makeIdle();
        start();
        giveRing();
    }
    void finish(std::uint32_t value = 0) {
        server.notify(finished(), value);
        settle();
    }
    [[nodiscard]] ::testing::AssertionResult finishLogged(std::size_t times) const {
        return streamLoggedLike(INFO,
                                text("play finish, elapsedTime\\[[0-9]+\\] \n",
                                     "play finish duration\\[[0-9]+\\] ms\n"),
                                times);
    }
};
INSTANTIATE_TEST_SUITE_P(Stream, PlaybackFinish, PLAYBACKS, playingName);

TEST_P(PlaybackFinish, CallsTheCallbackUntilItIsTakenBack) {
    CountingCallback callback;
    EXPECT_EQ(stream->setCallback(&callback), AUDIO_NO_ERROR);
    // 4 is a track's end only and 5 a sink's.
    for (const std::uint32_t event : {RING_READY, finished() == 4U ? 5U : 4U, 6U, 2U})
        server.notify(event, 0);
    settle();
    EXPECT_EQ(callback.finished, 0);
    finish(1);
    EXPECT_EQ(callback.finished, 1);
    EXPECT_TRUE(finishLogged(1));
    EXPECT_EQ(stream->setCallback(nullptr), AUDIO_NO_ERROR);
    finish();
    EXPECT_EQ(callback.finished, 1);
    EXPECT_TRUE(finishLogged(2));
}

TEST_P(PlaybackFinish, NeedsNoCallback) {
    finish();
    EXPECT_TRUE(finishLogged(1));
}

TEST_P(PlaybackFinish, CallsTheCallbackWithoutTheLock) {
    /// Uses the stream from inside: would never return if the lock were held.
    struct UsingCallback : audio::QVAudioTrackCallback {
        explicit UsingCallback(audio::QVAudioTrack& used) : user(used) {}
        void finish(bool) override { stopped = user.stop(); }
        audio::QVAudioTrack& user;
        std::atomic<int> stopped{-1};
    } callback(*stream);
    EXPECT_EQ(stream->setCallback(&callback), AUDIO_NO_ERROR);
    ASSERT_EQ(stream->writeDone(), AUDIO_NO_ERROR);
    finish();
    EXPECT_TRUE(finishLogged(1));
    EXPECT_EQ(callback.stopped, AUDIO_NO_ERROR);
}

using PlaybackNotification = AnnouncedRing;
INSTANTIATE_TEST_SUITE_P(Stream, PlaybackNotification, PLAYBACKS, playingName);

TEST_P(PlaybackNotification, IsLoggedWhenItIsUnknown) {
    makeIdle();
    std::vector<std::uint32_t> unknown = {0, 1, 2, 6, 254};
    if (kind == Playing::Track) unknown.push_back(5);
    for (const std::uint32_t event : unknown)
        server.notify(event, 77);
    settle();
    const int level = kind == Playing::Track ? ERROR : DEBUG;
    for (const std::uint32_t event : unknown)
        EXPECT_TRUE(logged(level, file(), "notifierCallbackFunc",
                           "unknown msg(" + std::to_string(event) + "), value=77\n"));
}

using TrackNotification = TrackFixture;

TEST_F(TrackNotification, OfARingIsLoggedWhenItsRequestCannotBeMade) {
    makeIdle();
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

TEST_F(TrackNotification, WithoutATrackIsLogged) {
    ClientTrack::notifierCallbackFunc(nullptr, RING_READY, 0);
    EXPECT_TRUE(logged(ERROR, "ClientTrack", "notifierCallbackFunc", "current track is NULL\n"));
}

/// The ring is looked at without the lock while the server replaces it again and again.
TEST_F(TrackNotification, OfNewRingsLeavesSizesReadableMeanwhile) {
    makeIdle(3000, 512);
    giveRing();
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
