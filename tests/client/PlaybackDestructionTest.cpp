// SPDX-License-Identifier: Apache-2.0
#include "tests/client/SinkFixture.h"
#include "tests/client/SlowThreads.h"
#include "tests/support/ProcessState.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <new>
#include <semaphore>
#include <thread>

namespace cabinaudio::test {
namespace {

class PlaybackDestruction : public EachPlayback {
protected:
    void makeFull() {
        makePlaying();
        fillRing();
    }
    /// Destroys the stream. A waiting write signals when it leaves, so that no wait here ends with
    /// its time.
    void destroyWithoutATimeOut() {
        const int lapsed = lapsedWaits();
        stream.reset();
        EXPECT_EQ(lapsedWaits(), lapsed) << "a leaving write must signal";
        EXPECT_TRUE(loggedLike(ERROR, ".*waitting exit timeout.*\n", ABSENT));
    }
    /// How many threads of streams run.
    [[nodiscard]] static std::ptrdiff_t streamThreads() {
        const std::vector<std::string> names = threadNames();
        return std::count_if(names.begin(), names.end(),
                             [](const std::string& one) { return one.rfind("AS-", 0) == 0; });
    }
};

INSTANTIATE_TEST_SUITE_P(Stream, PlaybackDestruction, PLAYBACKS, playingName);

TEST_P(PlaybackDestruction, SendsNoRequest) {
    makePlaying();
    stream.reset();
    EXPECT_TRUE(streamLogged(DEBUG, text("~ClientTrack", "~ClientSink"), "destroy client\n"));
    EXPECT_TRUE(server.requests(STOP).empty());
    EXPECT_TRUE(server.requests(LET_GO).empty());
    EXPECT_TRUE(server.waitForEndOf());
}

TEST_P(PlaybackDestruction, EndsAWriteThatWaitsForSpace) {
    makeFull();
    std::future<int> writer = blockedWrite(10);
    destroyWithoutATimeOut();
    EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(
        streamLogged(WARN, text("~ClientTrack", "~ClientSink"), " destroy with out stop finish\n"));
    EXPECT_TRUE(streamLogged(ERROR, "waiting free space, exit has requested mState[0]\n"));
}

TEST_P(PlaybackDestruction, EndsAWriteThatWaitsForTheRing) {
    makeIdle();
    start();
    std::future<int> writer = blockedWrite(10);
    destroyWithoutATimeOut();
    EXPECT_EQ(writer.get(), kind == Playing::Track ? AUDIO_TIMED_OUT : 0);
    EXPECT_TRUE(streamLogged(ERROR, "state[NO_INIT] invalid, expect[ACTIVE]\n"));
}

TEST_P(PlaybackDestruction, NeedsNoTimeOutWhenAWriteTimesOutAtThatMoment) {
    makeFull();
    std::future<int> writer = blocked(
        [this] {
            missNextSignal();
            return write(10, true);
        },
        AUDIO_INVALID_OPERATION);
    destroyWithoutATimeOut();
    EXPECT_EQ(writer.get(), AUDIO_TIMED_OUT);
}

TEST_P(PlaybackDestruction, WaitsForTheWriteEvenWhenTheServerPostsAllTheTime) {
    makeFull();
    std::future<int> writer = blockedWrite(10);
    std::atomic<bool> end{false};
    std::thread poster([&] {
        while (!end)
            serverRing->read(data.data(), 0);  // posts without freeing anything
    });
    stream.reset();
    EXPECT_EQ(writer.get(), AUDIO_INVALID_STATE) << log.dump();
    end = true;
    poster.join();
}

/// A write that is slow to wake up, while the destructor waits for it.
class SlowWriteAtDestruction : public PlaybackDestruction {
protected:
    void destroy() {
        makeFull();
        mWriter = blocked(
            [this] {
                sleepUntilReleased(mGo);
                return write(10, true);
            },
            AUDIO_INVALID_OPERATION);
        mDestroyer = std::thread([this] { stream.reset(); });
        ASSERT_TRUE(log.waitFor(WARN, "[" + name() + "] destroy with out stop finish\n"))
            << log.dump();
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

INSTANTIATE_TEST_SUITE_P(Stream, SlowWriteAtDestruction, PLAYBACKS, playingName);

TEST_P(SlowWriteAtDestruction, KeepsTheRingWhenTheServerPostsMeanwhile) {
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

TEST_P(SlowWriteAtDestruction, EndsAsRemovedWhenTheServerRemovesTheStreamMeanwhile) {
    destroy();
    server.notify(REMOVED, 0);
    settle();
    EXPECT_EQ(wakeUp(), AUDIO_INVALID_STATE);
    EXPECT_TRUE(streamLogged(ERROR, "after waiting ,status:STOPPING,server may have crash\n"));
    EXPECT_TRUE(loggedLike(ERROR, ".*waitting exit timeout.*\n", ABSENT));
}

TEST_P(PlaybackDestruction, GivesUpOnAWriteAfterTwoSeconds) {
    // The stuck write never leaves, so the stream's memory has to stay.
    constexpr std::size_t SIZE = std::max(sizeof(ClientTrack), sizeof(ClientSink));
    alignas(std::max_align_t) static unsigned char places[2][SIZE];
    acceptStreams();
    serverRing = posixRing("stuck", ringSize);
    AudioFormatDesc format = cdFormat();
    audio::QVAudioTrack* stuck = nullptr;
    if (kind == Playing::Track)
        stuck = new (places[0]) ClientTrack("stuck", AUDIO_TAG_ALTERNATIVE, format, 0);
    else
        stuck = new (places[1]) ClientSink("stuck", AUDIO_TAG_MAIN, format, 0);
    ASSERT_EQ(stuck->start(), AUDIO_NO_ERROR);
    if (kind == Playing::Track) {
        ASSERT_EQ(stuck->write(data.data(), 4095, false), 4095);
    }
    static unsigned char byte = 1;
    const int before = heldUp();
    std::thread([stuck] {
        holdUpInNextWait();
        (void)stuck->write(&byte, 1, true);
    }).detach();
    ASSERT_TRUE(eventually([&] { return heldUp() > before; }));
    const Stopwatch watch;
    stuck->~QVAudioTrack();
    EXPECT_GE(watch.ms(), 2000);
    EXPECT_TRUE(loggedLike(ERROR, "\\[stuck\\] waitting exit timeout\\[2[0-9]{3,} ms\\]\n"));
}

/// A request that waits for a server that has died holds the lock, which the destructor needs.
TEST_P(PlaybackDestruction, EndsRequestsThatADeadServerNeverAnswers) {
    struct Row {
        std::uint32_t function;
        std::uint32_t event;  // makes the notifier thread send the request; 0: start() sends it
    };
    std::vector<Row> rows = {{START, 0}, {GET_RING, RING_READY}};
    if (kind == Playing::Sink) rows.push_back({LET_GO, 4});
    for (const auto& [function, event] : rows) {
        SCOPED_TRACE("request " + std::to_string(function));
        makeIdle();
        server.on(function, Answer::none());
        std::future<int> starter;
        if (event == 0)
            starter = std::async(std::launch::async, [&] { return stream->start(); });
        else
            server.notify(event, 0, newest());
        ASSERT_TRUE(server.waitForRequest(function));
        server.close(newest());
        ASSERT_TRUE(log.waitForMatching(ERROR, "service may be crash.*\n")) << log.dump();
        const Stopwatch watch;
        stream.reset();
        EXPECT_LT(watch.ms(), 20'000);
        if (event == 0) {
            EXPECT_EQ(starter.get(), 1);
            EXPECT_TRUE(streamLogged(ERROR, "start RPC failed status[1], Out\n"));
        } else if (event == RING_READY) {
            EXPECT_TRUE(streamLogged(ERROR, " mRc->call return error(1), ret->status:0.\n"));
        }
        server.on(function, Answer::status(0));
        log.clear();
    }
}

TEST_P(PlaybackDestruction, LeavesNothingBehind) {
    const ProcessState before = ProcessState::now();
    for (int round = 0; round < 5; ++round) {
        for (const bool isAtOnce : {true, false}) {
            if (isAtOnce) {
                makeWithRing();
            } else {
                makeIdle();
                giveRing();
            }
            start();
            ASSERT_EQ(write(100, true), 100);
            if (kind == Playing::Sink && round % 2 == 0) {
                server.notify(4, 0, newest());  // withdraws the source
                settle();
            }
            stream.reset();
            serverRing.reset();
            log.clear();
        }
    }
    EXPECT_TRUE(leavesNoMoreThan(before));
}

TEST_P(PlaybackDestruction, EndsTheStreamsThreeThreads) {
    makeWithRing();
    EXPECT_EQ(streamThreads(), 3) << ::testing::PrintToString(threadNames());
    stream.reset();
    EXPECT_TRUE(eventually([] { return streamThreads() == 0; }))
        << ::testing::PrintToString(threadNames());
}

TEST_P(PlaybackDestruction, SurvivesABurstOfNotifications) {
    acceptStreams();
    serverRing = physicalRing(name().c_str(), ringSize);
    const ProcessState before = ProcessState::now();
    for (std::size_t round = 0; round < 20; ++round) {
        const auto brief = create(name(), tag());
        for (std::uint32_t i = 0; i < 30; ++i) {
            server.notify(RING_READY, i, round);
            server.notify(i % 3 == 0 ? 9 : i % 3 == 1 ? 4 : finished(), i, round);
        }
        if (round % 4 == 0) server.notify(REMOVED, 0, round);
    }
    EXPECT_TRUE(streamLoggedLike(DEBUG, "destroy client\n", 20));
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads == before.threads; }));
    EXPECT_TRUE(
        eventually([&] { return ProcessState::now().sharedMappings == before.sharedMappings; }));
}

using SinkDestruction = SinkFixture;

TEST_F(SinkDestruction, UnmapsTheRingBeforeItClosesTheConnection) {
    makePlaying();
    log.clear();
    sink.reset();
    const std::string lines = log.dump();
    const std::size_t unmapped = lines.find("delete shared memory name:snk");
    const std::size_t closed = lines.find("close socket fd:");
    const std::size_t destroyed = lines.find("[snk]destroy client");
    ASSERT_NE(unmapped, std::string::npos) << lines;
    ASSERT_NE(closed, std::string::npos) << lines;
    ASSERT_NE(destroyed, std::string::npos) << lines;
    EXPECT_LT(unmapped, closed) << lines;
    EXPECT_LT(closed, destroyed) << lines;
}

}  // namespace
}  // namespace cabinaudio::test
