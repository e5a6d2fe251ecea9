// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioStatus.h>

#include "plugins/common/CapturePump.h"
#include "tests/plugins/PumpClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <numeric>
#include <optional>
#include <vector>

namespace cabinaudio::test {

using plugin::CapturePump;
using plugin::PumpState;

namespace {

/// A stream with a ring of 32 bytes and a period of 8.
class FakeRecord : public audio::QVAudioRecord {
public:
    static constexpr int RING_BYTES = 33;

    int clear() override {
        if (isActive || isGone) return AUDIO_INVALID_STATE;
        ring.clear();
        return AUDIO_NO_ERROR;
    }
    int start() override {
        if (isGone) return AUDIO_INVALID_STATE;
        isActive = true;
        return AUDIO_NO_ERROR;
    }
    int stop() override {
        isActive = false;
        return AUDIO_NO_ERROR;
    }
    int setVolume(int) override { return 0; }
    int getVolume() override { return 0; }
    int getPerLoopSize() override { return 8; }
    int getTotalBufferSize() override { return RING_BYTES; }
    int read(unsigned char* buffer, int bytes, bool isBlock) override {
        hasBlocked = hasBlocked || isBlock;
        longestRead = std::max(longestRead, bytes);
        if (bytes > RING_BYTES) return AUDIO_BAD_VALUE;
        if (!isActive || isGone) return AUDIO_INVALID_STATE;
        const std::size_t count = std::min(static_cast<std::size_t>(bytes), ring.size());
        std::copy_n(ring.begin(), count, buffer);
        ring.erase(ring.begin(), ring.begin() + static_cast<std::ptrdiff_t>(count));
        return static_cast<int>(count);
    }
    int bytesUsed() override { return static_cast<int>(ring.size()); }

    /// The server adds bytes, all or none.
    void capture(std::size_t count) {
        if (ring.size() + count >= RING_BYTES) return;
        for (std::size_t i = 0; i < count; ++i)
            ring.push_back(next++);
    }

    bool isActive = false;
    bool isGone = false;
    bool hasBlocked = false;
    int longestRead = 0;
    unsigned char next = 0;
    std::vector<unsigned char> ring;
};

class Capture : public testing::Test {
protected:
    static constexpr std::uint64_t MS = 1000;
    static constexpr std::size_t BUFFER = 40;

    void make(std::size_t frameBytes = 1) {
        gNow = 1000 * MS;
        CapturePump::Settings settings;
        settings.rate = 1000;
        settings.frameBytes = frameBytes;
        settings.bufferFrames = BUFFER;
        mPump.emplace(mRecord, settings, mReady, testNow);
        ASSERT_EQ(mPump->prepare(), 0);
        ASSERT_EQ(mPump->start(), 0);
    }
    void pass(std::uint64_t ms, std::size_t bytes) {
        gNow += ms * MS;
        mRecord.capture(bytes);
        mPump->move();
    }
    /// What the program takes.
    void take(std::size_t frames) {
        const std::size_t before = mTaken.size();
        mTaken.resize(before + frames);
        mPump->peek(&mTaken[before], frames);
        mPump->moveTaken(static_cast<std::int64_t>(frames));
    }
    [[nodiscard]] bool isReadable() const {
        pollfd entry = {mReady.descriptor(), POLLIN, 0};
        return poll(&entry, 1, 0) == 1;
    }
    static std::vector<unsigned char> numbers(std::size_t count) {
        std::vector<unsigned char> result(count);
        std::iota(result.begin(), result.end(), 0);
        return result;
    }

    FakeRecord mRecord;
    plugin::ReadyEvent mReady;
    std::optional<CapturePump> mPump;
    std::vector<unsigned char> mTaken;
};

}  // namespace

TEST_F(Capture, DeliversWhatTheServerCaptured) {
    make();
    for (int i = 0; i < 20; ++i) {
        pass(8, 8);
        EXPECT_EQ(mPump->position(), static_cast<std::uint64_t>(8 * (i + 1)));
        take(8);
    }
    EXPECT_EQ(mTaken, numbers(160));
    EXPECT_FALSE(mRecord.hasBlocked);
}

TEST_F(Capture, NoReadIsForMoreThanAPeriod) {
    make();
    pass(8, 24);
    EXPECT_EQ(mPump->position(), 24U);
    EXPECT_EQ(mRecord.longestRead, mRecord.getPerLoopSize());
}

TEST_F(Capture, TakesWholeFramesFromAnOddNumberOfBytes) {
    make(3);
    pass(8, 8);
    EXPECT_EQ(mPump->position(), 2U);
    pass(8, 8);
    EXPECT_EQ(mPump->position(), 5U);
    mTaken.resize(15);
    mPump->peek(mTaken.data(), 5);
    EXPECT_EQ(mTaken, numbers(15));
}

TEST_F(Capture, ShowsFramesTwiceUntilTheyAreTaken) {
    make();
    pass(8, 8);
    std::vector<unsigned char> seen(8);
    mPump->peek(seen.data(), 8);
    mPump->peek(seen.data(), 8);
    EXPECT_EQ(seen, numbers(8));
}

TEST_F(Capture, IsReadyWithEnoughFrames) {
    make();
    mPump->setWakeFrames(16);
    pass(8, 8);
    EXPECT_FALSE(isReadable());
    pass(8, 8);
    EXPECT_TRUE(isReadable());
    take(1);
    EXPECT_FALSE(mPump->checkReady());
    EXPECT_FALSE(isReadable());
}

TEST_F(Capture, FullBufferBreaksOnlyWhenTheRingIsFullToo) {
    make();
    for (int i = 0; i < 5; ++i)
        pass(8, 8);
    EXPECT_EQ(mPump->position(), BUFFER);
    for (int i = 0; i < 3; ++i)
        pass(8, 8);
    EXPECT_EQ(mPump->state(), PumpState::Running);
    pass(8, 8);
    EXPECT_EQ(mPump->state(), PumpState::Broken);
    EXPECT_TRUE(isReadable());
}

TEST_F(Capture, LosesNothingWhenTheProgramIsLate) {
    make();
    for (int i = 0; i < 7; ++i)
        pass(8, 8);
    take(BUFFER);
    pass(0, 0);
    take(16);
    EXPECT_EQ(mTaken, numbers(56));
}

TEST_F(Capture, LosesAStreamThatIsGone) {
    make();
    mRecord.isGone = true;
    pass(8, 0);
    EXPECT_EQ(mPump->state(), PumpState::Lost);
    EXPECT_TRUE(isReadable());
    EXPECT_EQ(mPump->start(), -ENODEV);
}

TEST_F(Capture, PrepareNoticesThatTheStreamWasRemoved) {
    make();
    mRecord.isGone = true;
    EXPECT_EQ(mPump->prepare(), -ENODEV);
    EXPECT_EQ(mPump->state(), PumpState::Lost);
    EXPECT_TRUE(isReadable());
}

TEST_F(Capture, LosesAServerThatStandsStillForFiveSeconds) {
    make();
    pass(8, 8);
    for (int i = 0; i < 49; ++i)
        pass(100, 0);
    EXPECT_EQ(mPump->state(), PumpState::Running);
    pass(200, 0);
    EXPECT_EQ(mPump->state(), PumpState::Lost);
}

TEST_F(Capture, PauseKeepsTheOrder) {
    make();
    pass(8, 8);
    ASSERT_EQ(mPump->pause(), 0);
    pass(1000, 0);
    ASSERT_EQ(mPump->resume(), 0);
    pass(8, 8);
    take(16);
    EXPECT_EQ(mTaken, numbers(16));
}

}  // namespace cabinaudio::test
