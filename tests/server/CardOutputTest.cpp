// SPDX-License-Identifier: Apache-2.0
//
// The output to a sound card, with a card that does as the test says.
#include "devkit/server/outputs/CardOutput.h"
#include "tests/support/ProcessState.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace cabinaudio::server {
namespace {

using std::chrono::milliseconds;
using test::eventually;
using testing::HasSubstr;

/// The test's side of its cards.
struct Bench {
    std::mutex lock;
    std::condition_variable changed;
    bool isStalled = false;           // takes nothing
    bool isHanging = false;           // does not even return
    std::string failure;              // the card is lost, and cannot be opened
    std::vector<std::int16_t> heard;  // other than silence
    std::vector<std::string> opened;
    int drains = 0;

    void set(bool Bench::*what, bool value) {
        const std::lock_guard guard(lock);
        this->*what = value;
        changed.notify_all();
    }
    void fail(const std::string& reason) {
        const std::lock_guard guard(lock);
        failure = reason;
    }
    [[nodiscard]] std::size_t heardSamples() {
        const std::lock_guard guard(lock);
        return heard.size();
    }
};

/// A card without a clock: it takes everything at once.
class BenchCard : public SoundCard {
public:
    BenchCard(Bench& bench, std::string name) : mBench(bench), mName(std::move(name)) {
        const std::lock_guard guard(mBench.lock);
        if (!mBench.failure.empty()) throw std::runtime_error(mBench.failure);
        mBench.opened.push_back(mName);
    }

    CardProgress write(std::span<const std::uint8_t> frames, milliseconds patience) override {
        std::unique_lock guard(mBench.lock);
        mBench.changed.wait(guard, [this] { return !mBench.isHanging; });
        if (!mBench.failure.empty()) return {0, mBench.failure, true};
        if (mBench.isStalled && !frames.empty()) mBench.changed.wait_for(guard, patience);
        if (mBench.isStalled) return {};
        const auto* const samples = reinterpret_cast<const std::int16_t*>(frames.data());
        for (std::size_t i = 0; i < frames.size() / 2; ++i)
            if (samples[i] != 0) mBench.heard.push_back(samples[i]);
        return {frames.size(), "", false};
    }
    void drain(milliseconds) override {
        const std::lock_guard guard(mBench.lock);
        ++mBench.drains;
    }
    [[nodiscard]] std::size_t queuedFrames() override { return 0; }
    [[nodiscard]] std::optional<std::chrono::microseconds> latency() override {
        return milliseconds(20);
    }
    [[nodiscard]] std::string name() const override { return mName; }

private:
    Bench& mBench;
    std::string mName;
};

class CardOutputTest : public testing::Test {
protected:
    [[nodiscard]] CardOpener opener(const std::string& name) {
        return [this, name](Spawn) { return std::make_unique<BenchCard>(mBench, name); };
    }
    void open(bool isOptional = false) {
        mOutput =
            std::make_unique<CardOutput>(std::vector{opener("card")}, OutputFormat(), isOptional);
    }
    /// A period, each of whose samples is 1 more than the last one of the period before.
    void write(int periods = 1) {
        for (; periods > 0; --periods) {
            std::vector<float> period(1536);
            for (float& sample : period)
                sample = static_cast<float>(++mWritten) / 32768;
            mOutput->write(period);
        }
    }
    [[nodiscard]] bool isLost() { return mOutput->state().device.isLost(); }

    Bench mBench;
    int mWritten = 0;
    std::unique_ptr<CardOutput> mOutput;
};

TEST_F(CardOutputTest, PlaysEverythingInOrderToTheEnd) {
    open();
    write(5);
    mOutput.reset();
    ASSERT_EQ(mBench.heard.size(), 5U * 1536);
    for (std::size_t i = 0; i < mBench.heard.size(); ++i)
        ASSERT_EQ(mBench.heard[i], static_cast<int>(i) + 1);
    EXPECT_EQ(mBench.drains, 1);
}

TEST_F(CardOutputTest, RequestsExtraPeriodsWhenTheCardIsFaster) {
    open();
    std::uint64_t periods = 0;
    for (int tick = 0; tick < 320; ++tick)
        periods += mOutput->periodsDue(1);
    EXPECT_EQ(periods, 330U);
}

TEST_F(CardOutputTest, NeverHoldsTheMixWhenTheCardStalls) {
    open();
    mBench.set(&Bench::isStalled, true);
    std::uint64_t periods = 0;
    for (int tick = 0; tick < 64; ++tick) {
        periods += mOutput->periodsDue(1);
        write();
    }
    EXPECT_GE(periods, 62U) << "one period in 32 is the largest correction";
    // One period may be in the hands of the card.
    const std::uint64_t dropped = mOutput->state().droppedFrames;
    EXPECT_GE(dropped, 31U * 768);
    EXPECT_LE(dropped, 32U * 768);
    mBench.set(&Bench::isStalled, false);
    const std::uint64_t played = (std::uint64_t{64} * 768 - dropped) * 2;
    EXPECT_TRUE(eventually([&] { return mBench.heardSamples() == played; }));
    EXPECT_FALSE(isLost());
    EXPECT_EQ(mBench.heard.front(), 1) << "dropped is the newest sound";
}

TEST_F(CardOutputTest, OpensALostCardAgain) {
    open();
    write();
    ASSERT_TRUE(eventually([&] { return mBench.heardSamples() == 1536; }));
    mBench.fail("unplugged");
    ASSERT_TRUE(eventually([&] { return isLost(); }));
    write(3);
    const OutputState lost = mOutput->state();
    EXPECT_EQ(lost.device.problem, "unplugged");
    EXPECT_EQ(lost.device.losses, 1U);
    EXPECT_EQ(lost.device.lastError, "unplugged");
    EXPECT_GE(lost.device.recentErrors, 1U);
    EXPECT_EQ(lost.latencyMs, std::nullopt);
    EXPECT_EQ(mOutput->periodsDue(7), 7U) << "the mix continues";
    mBench.fail("");
    ASSERT_TRUE(eventually([&] { return !isLost(); }));
    write();
    EXPECT_TRUE(eventually([&] { return mBench.heardSamples() == 2 * 1536; }));
    const OutputState again = mOutput->state();
    EXPECT_EQ(again.device.problem, "");
    EXPECT_EQ(again.device.losses, 1U);
    EXPECT_EQ(again.droppedFrames, 0U) << "a loss is not a lack of room";
    EXPECT_EQ(mBench.heard.at(1536), 4 * 1536 + 1) << "sound of the loss is not heard later";
}

TEST_F(CardOutputTest, OpensACardAgainThatTakesNothingForTwoSeconds) {
    open();
    mBench.set(&Bench::isStalled, true);
    write();
    ASSERT_TRUE(eventually([&] { return isLost(); }));
    EXPECT_EQ(mOutput->state().device.problem, "card: takes no sound");
    mBench.set(&Bench::isStalled, false);
    EXPECT_TRUE(eventually([&] { return !isLost(); }));
    EXPECT_EQ(mBench.opened.size(), 2U);
}

TEST_F(CardOutputTest, PrefersTheLostKindOfCard) {
    mOutput = std::make_unique<CardOutput>(
        std::vector<CardOpener>{[this](Spawn) -> std::unique_ptr<SoundCard> {
                                    const std::lock_guard guard(mBench.lock);
                                    if (mBench.opened.empty())
                                        throw std::runtime_error("not at first");
                                    mBench.opened.emplace_back("wrong");
                                    throw std::runtime_error("wrong");
                                },
                                opener("second")},
        OutputFormat());
    EXPECT_EQ(mOutput->name(), "second");
    mBench.fail("unplugged");
    ASSERT_TRUE(eventually([&] { return isLost(); }));
    mBench.fail("");
    ASSERT_TRUE(eventually([&] { return !isLost(); }));
    EXPECT_THAT(mBench.opened, testing::ElementsAre("second", "second"));
}

TEST_F(CardOutputTest, RefusesToStartWithoutACard) {
    mBench.failure = "no such card";
    try {
        open();
        FAIL() << "opened";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "no such card");
    }
}

TEST_F(CardOutputTest, PlaysToNothingWithAWarningIfTheCardIsOptional) {
    mBench.failure = "no such card";
    open(true);
    write(100);
    EXPECT_EQ(mOutput->name(), "nothing");
    EXPECT_EQ(mOutput->state().warning, "no sound card works (no such card): plays to nothing");
    EXPECT_EQ(mOutput->state().droppedFrames, 0U);
    EXPECT_FALSE(isLost());
}

TEST_F(CardOutputTest, EndsWithinABoundIfTheCardHangs) {
    open();
    write();
    ASSERT_TRUE(eventually([&] { return mBench.heardSamples() == 1536; }));
    mBench.set(&Bench::isHanging, true);
    const auto begin = std::chrono::steady_clock::now();
    mOutput.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    // Its thread is still there, and uses what belongs to this test.
    mBench.set(&Bench::isHanging, false);
    EXPECT_TRUE(eventually([&] {
        const std::lock_guard guard(mBench.lock);
        return mBench.drains == 1;
    }));
}

TEST(RetryPause, GrowsFromNothingToFiveSeconds) {
    RetryPause pause;
    std::vector<milliseconds::rep> pauses;
    for (int i = 0; i < 9; ++i)
        pauses.push_back(pause.next().count());
    EXPECT_THAT(pauses, testing::ElementsAre(0, 100, 200, 400, 800, 1600, 3200, 5000, 5000));
    EXPECT_TRUE(pause.isLongest());
}

}  // namespace
}  // namespace cabinaudio::server
