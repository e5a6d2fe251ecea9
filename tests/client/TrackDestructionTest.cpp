// SPDX-License-Identifier: Apache-2.0
#include "tests/client/SlowThreads.h"
#include "tests/client/TrackFixture.h"
#include "tests/support/ProcessState.h"

#include <atomic>
#include <new>
#include <semaphore>
#include <thread>

namespace cabinaudio::test {
namespace {

class ATracksDestruction : public ATrack {};

TEST_F(ATracksDestruction, SendsNoStopRequest) {
    makeAlternative();
    start();
    track.reset();
    EXPECT_EQ(log.count(DEBUG, "ClientTrack", "~ClientTrack", "[trk]destroy client\n"), 1U)
        << log.dump();
    EXPECT_TRUE(server.requests(STOP).empty());
    EXPECT_TRUE(server.waitForEndOf());
}

TEST_F(ATracksDestruction, EndsAWriteThatWaitsForSpace) {
    makeAlternative();
    start();
    fillRing();
    std::future<int> writer = blockedWrite(10);
    const int lapsed = lapsedWaits();
    track.reset();
    EXPECT_EQ(lapsedWaits(), lapsed) << "the writer has to say that it leaves";
    EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE);
    EXPECT_EQ(
        log.count(WARN, "ClientTrack", "~ClientTrack", "[trk] destroy with out stop finish\n"), 1U)
        << log.dump();
    EXPECT_EQ(log.count(ERROR, "[trk]waiting free space, exit has requested mState[0]\n"), 1U)
        << log.dump();
    EXPECT_EQ(log.countMatching(ERROR, ".*waitting exit timeout.*\n"), 0U) << log.dump();
}

TEST_F(ATracksDestruction, IsToldByAWriterWhoseTimeIsOverAtThatMoment) {
    makeAlternative();
    start();
    fillRing();
    std::future<int> writer = blocked(
        [this] {
            missNextSignal();
            return write(10, true);
        },
        AUDIO_INVALID_OPERATION);
    const int lapsed = lapsedWaits();
    track.reset();
    EXPECT_EQ(lapsedWaits(), lapsed);
    EXPECT_EQ(writer.get(), AUDIO_TIMED_OUT);
    EXPECT_EQ(log.countMatching(ERROR, ".*waitting exit timeout.*\n"), 0U) << log.dump();
}

TEST_F(ATracksDestruction, EndsAWriteThatWaitsForTheRing) {
    makeAuxiliary();
    start();
    std::future<int> writer = blockedWrite(10);
    const int lapsed = lapsedWaits();
    track.reset();
    EXPECT_EQ(lapsedWaits(), lapsed) << "the writer has to say that it leaves";
    EXPECT_EQ(writer.get(), AUDIO_TIMED_OUT);
    EXPECT_EQ(log.count(ERROR, "[trk]state[NO_INIT] invalid, expect[ACTIVE]\n"), 1U) << log.dump();
    EXPECT_EQ(log.countMatching(ERROR, ".*waitting exit timeout.*\n"), 0U) << log.dump();
}

TEST_F(ATracksDestruction, WaitsForTheWriterEvenWhenTheServerPostsAllTheTime) {
    makeAlternative();
    start();
    fillRing();
    std::future<int> writer = blockedWrite(10);
    std::atomic<bool> end{false};
    std::thread poster([&] {
        while (!end)
            serverRing->read(data.data(), 0);  // posts without freeing anything
    });
    track.reset();
    EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE) << log.dump();
    end = true;
    poster.join();
}

/// A writer that is slow to wake up, while the destructor waits for it.
class ASlowWritersTrack : public ATracksDestruction {
protected:
    void destroy() {
        makeAlternative();
        start();
        fillRing();
        mWriter = blocked(
            [this] {
                sleepOnUntil(mGo);
                return write(10, true);
            },
            AUDIO_INVALID_OPERATION);
        mDestroyer = std::thread([this] { track.reset(); });
        ASSERT_TRUE(log.waitFor(WARN, "[trk] destroy with out stop finish\n")) << log.dump();
    }
    int wakeUp() {
        mGo.release();
        mDestroyer.join();
        return mWriter.get();
    }

private:
    std::binary_semaphore mGo{0};
    std::future<int> mWriter;
    std::thread mDestroyer;
};

TEST_F(ASlowWritersTrack, IsNotTakenAwayWhenTheServerPostsMeanwhile) {
    destroy();
    EXPECT_FALSE(eventually(
        [&] {
            serverRing->read(data.data(), 0);  // posts without freeing anything
            return log.countMatching(DEBUG, "delete shared memory.*\n") != 0;
        },
        std::chrono::milliseconds(100)))
        << log.dump();
    EXPECT_EQ(wakeUp(), AUDIO_INVALID_STATE);
}

TEST_F(ASlowWritersTrack, EndsTheWriteAsRemovedWhenTheServerRemovesItDuringDestruction) {
    destroy();
    server.notify(REMOVED, 0);
    server.notify(9999, 0);  // delivered after the first one
    EXPECT_TRUE(log.waitFor(ERROR, "unknown msg(9999), value=0\n")) << log.dump();
    EXPECT_EQ(wakeUp(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[trk]after waiting ,status:STOPPING,server may have crash\n"), 1U)
        << log.dump();
    EXPECT_EQ(log.countMatching(ERROR, ".*waitting exit timeout.*\n"), 0U) << log.dump();
}

TEST_F(ATracksDestruction, GivesUpOnAWriterAfterTwoSeconds) {
    makeAlternative();
    start();
    fillRing();
    // The stuck writer never leaves, so the track's memory has to stay.
    alignas(ClientTrack) static unsigned char place[sizeof(ClientTrack)];
    AudioFormatDesc format = cdFormat();
    serverRing = posixRing("stuck", ringSize);
    auto* const stuck = new (place) ClientTrack("stuck", AUDIO_TAG_ALTERNATIVE, format, 0);
    ASSERT_EQ(stuck->start(), AUDIO_NO_ERROR);
    ASSERT_EQ(stuck->write(data.data(), 4095, false), 4095);
    static unsigned char byte = 1;
    const int before = heldUp();
    std::thread([stuck] {
        holdUpInNextWait();
        (void)stuck->write(&byte, 1, true);
    }).detach();
    ASSERT_TRUE(eventually([&] { return heldUp() > before; }));
    const auto begin = std::chrono::steady_clock::now();
    stuck->~ClientTrack();
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(2000));
    EXPECT_EQ(log.countMatching(ERROR, "\\[stuck\\] waitting exit timeout\\[2[0-9]{3,} ms\\]\n"),
              1U)
        << log.dump();
}

/// A request that waits for a server that has died holds the lock, which the destructor needs.
TEST_F(ATracksDestruction, EndsARequestThatADeadServerWillNeverAnswer) {
    makeAuxiliary();
    server.on(START, Answer::none());
    std::future<int> starter = std::async(std::launch::async, [&] { return track->start(); });
    ASSERT_TRUE(server.waitForRequest(START));
    server.stop();
    ASSERT_TRUE(log.waitForMatching(ERROR, "service may be crash.*\n")) << log.dump();
    track.reset();
    EXPECT_EQ(starter.get(), 1);
    EXPECT_EQ(log.count(ERROR, "[trk]start RPC failed status[1], Out\n"), 1U) << log.dump();
}

TEST_F(ATracksDestruction, EndsARingRequestThatADeadServerWillNeverAnswer) {
    makeAuxiliary();
    server.on(GET_RING, Answer::none());
    server.notify(RING_READY, 0);
    ASSERT_TRUE(server.waitForRequest(GET_RING));
    server.stop();
    track.reset();
    EXPECT_EQ(log.count(ERROR, "[trk] mRc->call return error(1), ret->status:0.\n"), 1U)
        << log.dump();
}

TEST_F(ATracksDestruction, LeavesNothingBehind) {
    const ProcessState before = ProcessState::now();
    for (int round = 0; round < 5; ++round) {
        makeAlternative();
        start();
        ASSERT_EQ(write(100, true), 100);
        track.reset();
        serverRing.reset();
        makeAuxiliary();
        announceRing();
        start();
        ASSERT_EQ(write(100, true), 100);
        track.reset();
        serverRing.reset();
        log.clear();
    }
    EXPECT_TRUE(leavesNoMoreThan(before));
}

TEST_F(ATracksDestruction, RunsExactlyThreeThreadsUntilThen) {
    makeAlternative();
    std::size_t known = 0;
    for (const std::string& name : threadNames())
        if (name.rfind("AS-", 0) == 0) ++known;
    EXPECT_EQ(known, 3U) << ::testing::PrintToString(threadNames());
    track.reset();
    EXPECT_TRUE(eventually([] {
        for (const std::string& name : threadNames())
            if (name.rfind("AS-", 0) == 0) return false;
        return true;
    })) << ::testing::PrintToString(threadNames());
}

TEST_F(ATracksDestruction, SurvivesAStormOfNotifications) {
    acceptStreams(4096, 1024);
    AudioFormatDesc format = cdFormat();
    serverRing = physicalRing("trk", ringSize);
    const ProcessState before = ProcessState::now();
    for (std::size_t round = 0; round < 20; ++round) {
        ClientTrack storm("trk", AUDIO_TAG_AUXILIARY, format, 0);
        for (std::uint32_t i = 0; i < 30; ++i) {
            server.notify(RING_READY, i, round);
            server.notify(i % 2 == 0 ? FINISHED : 9, i, round);
        }
        if (round % 4 == 0) server.notify(REMOVED, 0, round);
    }
    EXPECT_EQ(log.countMatching(DEBUG, "\\[trk\\]destroy client\n"), 20U);
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads == before.threads; }));
}

}  // namespace
}  // namespace cabinaudio::test
