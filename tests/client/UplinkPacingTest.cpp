// SPDX-License-Identifier: Apache-2.0
#include "client/UplinkPacing.h"

#include <gtest/gtest.h>

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t MOST_BYTES = 1024;
constexpr std::uint64_t START_MS = 5'000'000;

struct UplinkPacingTest : ::testing::Test {
    static constexpr std::uint32_t BYTES_PER_MS = 32;  // 16 kHz, one channel, 16 bits
    std::atomic<std::uint64_t> readBytes{0};
    std::atomic<std::uint64_t> startMs{START_MS};
    UplinkPacing pacing{BYTES_PER_MS, MOST_BYTES, readBytes, startMs};
    UplinkPacing unpaced{0, MOST_BYTES, readBytes, startMs};
};

TEST_F(UplinkPacingTest, NothingIsDueAtTheStart) {
    EXPECT_EQ(pacing.due(START_MS), 0U);
}

TEST_F(UplinkPacingTest, BytesComeDueWithTheClock) {
    EXPECT_EQ(pacing.due(START_MS + 1), 32U);
    EXPECT_EQ(pacing.due(START_MS + 32), 1024U);
    EXPECT_EQ(startMs, START_MS) << "no time was dropped";
}

TEST_F(UplinkPacingTest, BytesThatWereReadAreDueNoMore) {
    readBytes = 100;
    EXPECT_EQ(pacing.due(START_MS + 10), 220U);
}

TEST_F(UplinkPacingTest, TimeWithoutReadsIsDroppedBeyondTheMost) {
    EXPECT_EQ(pacing.due(START_MS + 1000), MOST_BYTES);
    EXPECT_EQ(startMs, START_MS + 1000 - 32);
    EXPECT_EQ(pacing.due(START_MS + 1000), MOST_BYTES) << "and stays so";
    readBytes += MOST_BYTES;
    EXPECT_EQ(pacing.due(START_MS + 1000), 0U);
    EXPECT_EQ(pacing.due(START_MS + 1001), 32U) << "the pace goes on from there";
}

TEST_F(UplinkPacingTest, DroppedTimeKeepsTheBytesOfALongStream) {
    readBytes = 10'000'000'000;
    startMs = START_MS - 10'000'000'000 / BYTES_PER_MS;
    EXPECT_EQ(pacing.due(START_MS + 5), 160U) << "more than 32 bits were read";
}

TEST_F(UplinkPacingTest, ReadAheadOfTheClockCountsAsABacklog) {
    readBytes = 33;
    EXPECT_EQ(pacing.due(START_MS + 1), MOST_BYTES);
}

TEST_F(UplinkPacingTest, WaitIsRoundedUpToMilliseconds) {
    EXPECT_EQ(pacing.msUntil(1), 1U);
    EXPECT_EQ(pacing.msUntil(32), 1U);
    EXPECT_EQ(pacing.msUntil(33), 2U);
    EXPECT_EQ(pacing.msUntil(512), 16U);
}

TEST_F(UplinkPacingTest, WithoutAPaceNothingIsDueAndAWaitLastsAPeriod) {
    EXPECT_EQ(unpaced.due(START_MS + 1000), 0U);
    EXPECT_EQ(startMs, START_MS);
    EXPECT_EQ(unpaced.msUntil(512), 16U);
}

}  // namespace
}  // namespace cabinaudio::test
