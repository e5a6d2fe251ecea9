// SPDX-License-Identifier: Apache-2.0
#include "plugins/common/PlaybackPump.h"
#include "tests/plugins/FakeTrack.h"
#include "tests/plugins/PumpClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <cerrno>
#include <future>
#include <numeric>
#include <optional>

namespace cabinaudio::test {

using plugin::PlaybackPump;
using plugin::PumpState;

namespace {

/// A pump of one byte per frame and 1000 frames per second; the server's period is 8 frames.
class Pump : public testing::Test {
protected:
    static constexpr std::uint64_t MS = 1000;
    static constexpr std::size_t BUFFER = 64;

    void make(bool reportsFinish = false, bool isSink = false) {
        gNow = 1000 * MS;
        PlaybackPump::Settings settings;
        settings.rate = 1000;
        settings.frameBytes = 1;
        settings.silence = 0x80;
        settings.bufferFrames = BUFFER;
        settings.reportsFinish = reportsFinish;
        settings.isSink = isSink;
        mPump.emplace(mTrack, settings, mReady, testNow);
        ASSERT_EQ(mPump->prepare(), 0);
    }

    /// Appends the next `count` numbers.
    void append(std::size_t count) {
        std::vector<unsigned char> bytes(count);
        std::iota(bytes.begin(), bytes.end(), mNext);
        mNext = static_cast<unsigned char>(mNext + count);
        mPump->append(bytes.data(), count);
    }

    /// Some time, in which the server takes so many frames and the I/O thread then has its turn.
    void pass(std::uint64_t ms, std::size_t frames) {
        gNow += ms * MS;
        mTrack.play(frames);
        mPump->move();
    }

    [[nodiscard]] bool isReadable() const {
        pollfd entry = {mReady.descriptor(), POLLIN, 0};
        return poll(&entry, 1, 0) == 1;
    }

    static std::vector<unsigned char> numbers(std::size_t count, unsigned char first = 0) {
        std::vector<unsigned char> result(count);
        std::iota(result.begin(), result.end(), first);
        return result;
    }

    FakeTrack mTrack;
    plugin::ReadyEvent mReady;
    std::optional<PlaybackPump> mPump;
    unsigned char mNext = 0;
};

}  // namespace

TEST_F(Pump, PlaysWhatWasAppendedInOrder) {
    make();
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    for (int i = 0; i < 10; ++i)
        pass(8, 8);
    EXPECT_EQ(mTrack.heard, numbers(60));
    EXPECT_FALSE(mTrack.hasBlocked);
}

TEST_F(Pump, WritesNothingBeforeTheStart) {
    make();
    append(60);
    pass(8, 8);
    EXPECT_TRUE(mTrack.ring.empty());
}

TEST_F(Pump, PositionCountsFramesThatTheServerHasTaken) {
    make();
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    EXPECT_EQ(mTrack.ring.size(), 24U);
    EXPECT_EQ(mPump->position(), 0U);
    mTrack.play(8);
    EXPECT_EQ(mPump->position(), 8U);
}

TEST_F(Pump, DelayFallsBetweenTwoPeriodsByOnePeriodAtMost) {
    make();
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    pass(8, 8);
    EXPECT_EQ(mPump->delay(), 52U);
    gNow += 5 * MS;
    EXPECT_EQ(mPump->delay(), 47U);
    gNow += 50 * MS;
    EXPECT_EQ(mPump->delay(), 44U);
}

TEST_F(Pump, CourseTellsWhenThePositionWasReached) {
    make();
    append(12);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    pass(8, 8);
    const std::uint64_t then = gNow;
    gNow += 5 * MS;
    PlaybackPump::Course course = mPump->course();
    EXPECT_EQ(course.state, PumpState::Running);
    EXPECT_EQ(course.position, 8U);
    EXPECT_EQ(course.end, 12U);
    EXPECT_EQ(course.time, then);
    EXPECT_FALSE(course.isDry);
    pass(3, 4);
    course = mPump->course();
    EXPECT_EQ(course.position, 12U);
    EXPECT_TRUE(course.isDry);
}

TEST_F(Pump, WaitsForRoomWhileItRuns) {
    make();
    EXPECT_EQ(mPump->waitForRoom(BUFFER), BUFFER);
    append(BUFFER);
    EXPECT_EQ(mPump->waitForRoom(1), 0U) << "it does not run, so that no room will come";
    ASSERT_EQ(mPump->start(), 0);
    mPump->move();
    auto waiting = std::async(std::launch::async, [this] { return mPump->waitForRoom(8); });
    EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    ASSERT_EQ(mPump->pause(), 0);
    EXPECT_EQ(waiting.get(), 0U);
}

TEST_F(Pump, ATurnThatLosesTheStreamReturns) {
    make();
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    pass(8, 8);
    mTrack.isGone = true;
    gNow += 101 * MS;
    auto turn = std::async(std::launch::async, [this] { mPump->turn(); });
    const bool returns = turn.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    mPump->leave();
    EXPECT_TRUE(returns);
    EXPECT_EQ(mPump->state(), PumpState::Lost);
}

TEST_F(Pump, PauseNeitherLosesNorRepeatsFrames) {
    make();
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    pass(8, 8);
    ASSERT_EQ(mPump->pause(), 0);
    EXPECT_FALSE(mTrack.isActive);
    pass(1000, 0);
    EXPECT_EQ(mPump->state(), PumpState::Paused);
    ASSERT_EQ(mPump->resume(), 0);
    for (int i = 0; i < 10; ++i)
        pass(8, 8);
    EXPECT_EQ(mTrack.heard, numbers(60));
}

TEST_F(Pump, PrepareDiscardsWhatIsQueued) {
    make();
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    pass(8, 8);
    ASSERT_EQ(mPump->stop(), 0);
    ASSERT_EQ(mPump->prepare(), 0);
    EXPECT_EQ(mPump->position(), 0U);
    mTrack.heard.clear();
    append(8);
    ASSERT_EQ(mPump->start(), 0);
    pass(8, 0);
    pass(8, 8);
    EXPECT_EQ(mTrack.heard, numbers(8, 60));
}

TEST_F(Pump, DryStreamBreaksAfterAPeriodOnly) {
    make();
    append(8);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    pass(8, 8);
    EXPECT_EQ(mPump->state(), PumpState::Running);
    pass(8, 0);
    EXPECT_EQ(mPump->state(), PumpState::Running);
    pass(1, 0);
    EXPECT_EQ(mPump->state(), PumpState::Broken);
    EXPECT_TRUE(mPump->checkReady());
}

TEST_F(Pump, DryStreamGoesOnIfTheProgramWantsThat) {
    make();
    mPump->setBreaksWhenDry(false);
    append(8);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    for (int i = 0; i < 1000; ++i)
        pass(8, 8);
    EXPECT_EQ(mPump->state(), PumpState::Running);
    append(8);
    pass(8, 0);
    pass(8, 8);
    EXPECT_EQ(mTrack.heard, numbers(16));
}

TEST_F(Pump, PreparedAgainAfterABreakPlaysOn) {
    make();
    append(8);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    pass(8, 8);
    pass(17, 0);
    ASSERT_EQ(mPump->state(), PumpState::Broken);
    ASSERT_EQ(mPump->prepare(), 0);
    append(8);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    pass(8, 8);
    EXPECT_EQ(mTrack.heard, numbers(16));
}

TEST_F(Pump, IsReadyWhenThereIsEnoughRoom) {
    make();
    mPump->setWakeRoom(16);
    append(BUFFER);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    EXPECT_FALSE(mPump->checkReady());
    EXPECT_FALSE(isReadable());
    pass(8, 8);
    EXPECT_FALSE(isReadable());
    pass(8, 8);
    EXPECT_TRUE(isReadable());
    EXPECT_TRUE(mPump->checkReady());
}

TEST_F(Pump, IsReadyBeforeTheStartAndAfterAStop) {
    make();
    append(BUFFER);
    EXPECT_TRUE(isReadable());
    ASSERT_EQ(mPump->start(), 0);
    EXPECT_FALSE(mPump->checkReady());
    ASSERT_EQ(mPump->stop(), 0);
    EXPECT_TRUE(isReadable());
}

TEST_F(Pump, DrainStartsASoundThatIsShorterThanTheThreshold) {
    make();
    append(5);
    ASSERT_EQ(mPump->beginDrain(), 0);
    EXPECT_TRUE(mTrack.isActive);
    pass(8, 8);
    pass(8, 8);
    EXPECT_EQ(mTrack.heard, numbers(5));
}

TEST_F(Pump, DrainWithoutAReportEndsAPeriodAfterTheLastFrame) {
    make();
    append(8);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    ASSERT_EQ(mPump->beginDrain(), 0);
    pass(8, 8);
    EXPECT_EQ(mPump->state(), PumpState::Draining);
    EXPECT_EQ(mPump->position(), 7U) << "the drain has not ended";
    pass(8, 0);
    EXPECT_EQ(mPump->state(), PumpState::Drained);
    EXPECT_EQ(mPump->position(), 8U);
    EXPECT_FALSE(mTrack.isWriteDone);
}

TEST_F(Pump, DrainEndsWithTheServersReport) {
    make(true);
    append(8);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    ASSERT_EQ(mPump->beginDrain(), 0);
    pass(8, 8);
    pass(50, 0);
    EXPECT_TRUE(mTrack.isWriteDone);
    EXPECT_EQ(mPump->state(), PumpState::Draining);
    mTrack.callback->finish(false);
    pass(1, 0);
    EXPECT_EQ(mPump->state(), PumpState::Drained);
    EXPECT_EQ(mPump->waitForDrain([] { return false; }), 0);
}

TEST_F(Pump, DrainWithoutTheReportIsAnErrorAfterASecond) {
    make(true);
    append(8);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    ASSERT_EQ(mPump->beginDrain(), 0);
    pass(1, 0);
    pass(8, 8);
    pass(990, 0);
    EXPECT_EQ(mPump->state(), PumpState::Draining);
    pass(20, 0);
    EXPECT_EQ(mPump->waitForDrain([] { return false; }), -EIO);
}

TEST_F(Pump, DrainOfNothingEndsAtOnce) {
    make(true);
    ASSERT_EQ(mPump->beginDrain(), 0);
    EXPECT_EQ(mPump->waitForDrain([] { return false; }), 0);
    EXPECT_EQ(mTrack.starts, 0);
}

TEST_F(Pump, DrainIsInterrupted) {
    make(true);
    append(8);
    ASSERT_EQ(mPump->beginDrain(), 0);
    EXPECT_EQ(mPump->waitForDrain([] { return true; }), -EINTR);
}

TEST_F(Pump, StopEndsADrain) {
    make(true);
    append(8);
    ASSERT_EQ(mPump->beginDrain(), 0);
    auto drain = std::async(std::launch::async,
                            [this] { return mPump->waitForDrain([] { return false; }); });
    ASSERT_EQ(mPump->stop(), 0);
    EXPECT_EQ(drain.get(), 0);
    EXPECT_EQ(mPump->state(), PumpState::Stopped);
}

TEST_F(Pump, AsksAStreamThatStandsStill) {
    make();
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    pass(98, 0);
    EXPECT_EQ(mTrack.starts, 1);
    pass(2, 0);
    EXPECT_EQ(mTrack.starts, 2);
    EXPECT_EQ(mPump->state(), PumpState::Running);
}

TEST_F(Pump, KeepsAStreamThatMovesWhileItIsAsked) {
    make();
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    mTrack.whileStarting = [this] {
        gNow += 8 * MS;
        mTrack.play(8);
        EXPECT_EQ(mPump->position(), 8U);
    };
    pass(101, 0);
    EXPECT_EQ(mTrack.starts, 2);
    EXPECT_EQ(mPump->state(), PumpState::Running);
}

TEST_F(Pump, StaysStoppedWhenAPauseMeetsAQuestion) {
    make();
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    std::future<int> pause;
    mTrack.whileStarting = [&] {
        pause = std::async(std::launch::async, [this] { return mPump->pause(); });
        // Gives it the time to overtake.
        pause.wait_for(std::chrono::milliseconds(50));
    };
    pass(101, 0);
    ASSERT_EQ(mTrack.starts, 2);
    EXPECT_EQ(pause.get(), 0);
    EXPECT_EQ(mPump->state(), PumpState::Paused);
    EXPECT_FALSE(mTrack.isActive);
}

TEST_F(Pump, DoesNotAskAStreamThatMoves) {
    make();
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    for (int i = 0; i < 100; ++i) {
        pass(8, 8);
        append(8);
    }
    EXPECT_EQ(mTrack.starts, 1);
}

TEST_F(Pump, LosesAStreamThatIsGone) {
    make();
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    for (int i = 0; i < 3; ++i)
        pass(8, 8);
    mTrack.isGone = true;
    pass(50, 0);
    EXPECT_EQ(mPump->state(), PumpState::Running) << "nothing is to be written";
    pass(51, 0);
    EXPECT_EQ(mPump->state(), PumpState::Lost);
    EXPECT_TRUE(isReadable());
    EXPECT_EQ(mPump->prepare(), -ENODEV);
    EXPECT_EQ(mPump->start(), -ENODEV);
}

TEST_F(Pump, PrepareNoticesThatTheStreamWasRemoved) {
    make();
    mTrack.isGone = true;
    EXPECT_EQ(mPump->prepare(), -ENODEV);
    EXPECT_EQ(mPump->state(), PumpState::Lost);
    EXPECT_TRUE(isReadable());
}

TEST_F(Pump, LosesAServerThatStandsStillForFiveSeconds) {
    make();
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    for (int i = 0; i < 49; ++i)
        pass(100, 0);
    EXPECT_EQ(mPump->state(), PumpState::Running);
    pass(100, 0);
    pass(100, 0);
    EXPECT_EQ(mPump->state(), PumpState::Lost);
}

TEST_F(Pump, LosesATrackWithoutARingAfterASecond) {
    make();
    mTrack.hasRing = false;
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    for (int i = 0; i < 9; ++i)
        pass(100, 0);
    EXPECT_EQ(mPump->state(), PumpState::Running);
    pass(150, 0);
    EXPECT_EQ(mPump->state(), PumpState::Lost);
}

TEST_F(Pump, WaitsForARingThatComesLate) {
    make();
    mTrack.hasRing = false;
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    pass(500, 0);
    mTrack.hasRing = true;
    for (int i = 0; i < 10; ++i)
        pass(8, 8);
    EXPECT_EQ(mTrack.heard, numbers(60));
}

TEST_F(Pump, SinkWaitsForItsFirstSource) {
    make(true, true);
    mTrack.hasRing = false;
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    pass(500, 0);
    EXPECT_EQ(mPump->position(), 0U);
    mTrack.hasRing = true;
    for (int i = 0; i < 10; ++i)
        pass(8, 8);
    EXPECT_EQ(mTrack.heard, numbers(60));
}

TEST_F(Pump, SinkWithoutItsSourceDiscardsAtThePaceOfTheClock) {
    make(true, true);
    append(60);
    ASSERT_EQ(mPump->start(), 0);
    pass(8, 8);
    mTrack.hasRing = false;
    mTrack.ring.clear();
    pass(0, 0);
    const std::uint64_t before = mPump->position();
    for (int i = 0; i < 20; ++i)
        pass(1, 0);
    EXPECT_EQ(mPump->position(), before + 20);
    EXPECT_EQ(mPump->state(), PumpState::Running);
}

TEST_F(Pump, SinkWithoutItsSourceDrainsAtOnce) {
    make(true, true);
    append(8);
    ASSERT_EQ(mPump->start(), 0);
    pass(8, 8);
    mTrack.hasRing = false;
    ASSERT_EQ(mPump->beginDrain(), 0);
    pass(1, 0);
    EXPECT_EQ(mPump->state(), PumpState::Drained);
}

TEST_F(Pump, RewoundFramesAreReplacedUnlessTheStreamHasThem) {
    make();
    append(40);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);  // 24 are in the ring
    mPump->moveEnd(-30);
    const std::vector<unsigned char> others(30, 200);
    mPump->append(others.data(), others.size());
    for (int i = 0; i < 10; ++i)
        pass(8, 8);
    std::vector<unsigned char> expected = numbers(24);
    expected.insert(expected.end(), 16, 200);
    EXPECT_EQ(mTrack.heard, expected);
}

TEST_F(Pump, FramesThatAreSkippedAreSilent) {
    make();
    append(4);
    mPump->moveEnd(3);
    append(4);
    ASSERT_EQ(mPump->start(), 0);
    pass(1, 0);
    pass(8, 24);
    EXPECT_THAT(mTrack.heard, testing::ElementsAre(0, 1, 2, 3, 0x80, 0x80, 0x80, 4, 5, 6, 7));
}

TEST_F(Pump, TurnEndsWhenItIsLeft) {
    make();
    auto turns = std::async(std::launch::async, [this] {
        while (!mPump->isLeaving())
            mPump->turn();
    });
    mPump->leave();
    EXPECT_EQ(turns.wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

/// Threads as in a program: one writes and looks, one pumps, the server takes what is there.
TEST_F(Pump, KeepsTheOrderWhileThreadsMeet) {
    struct Locked : FakeTrack {
        int bytesFree() override {
            const std::lock_guard lock(mutex);
            return FakeTrack::bytesFree();
        }
        int write(unsigned char* buffer, int bytes, bool isBlock) override {
            const std::lock_guard lock(mutex);
            return FakeTrack::write(buffer, bytes, isBlock);
        }
        void take() {
            const std::lock_guard lock(mutex);
            play(8);
        }
        std::mutex mutex;
    } track;
    PlaybackPump::Settings settings;
    settings.rate = 48000;
    settings.frameBytes = 1;
    settings.bufferFrames = BUFFER;
    PlaybackPump pump(track, settings, mReady);
    ASSERT_EQ(pump.prepare(), 0);
    pump.setBreaksWhenDry(false);
    ASSERT_EQ(pump.start(), 0);
    auto pumping = std::async(std::launch::async, [&pump] {
        while (!pump.isLeaving())
            pump.move();
    });
    constexpr std::uint64_t TOTAL = 4096;
    bool isInOrder = true;
    for (std::uint64_t end = 0; isInOrder && (end < TOTAL || pump.position() < TOTAL);) {
        const std::uint64_t position = pump.position();
        isInOrder = position <= end && pump.state() == PumpState::Running;
        if (end < TOTAL && end - position < BUFFER) {
            const auto byte = static_cast<unsigned char>(end++);
            pump.append(&byte, 1);
        }
        track.take();
    }
    pump.leave();
    pumping.get();
    EXPECT_TRUE(isInOrder);
    ASSERT_EQ(track.heard.size(), TOTAL);
    for (std::size_t i = 0; i < TOTAL; ++i)
        ASSERT_EQ(track.heard[i], static_cast<unsigned char>(i));
}

}  // namespace cabinaudio::test
