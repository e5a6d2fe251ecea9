// SPDX-License-Identifier: Apache-2.0
#include "client/FramedRing.h"
#include "tests/support/Logged.h"
#include "tests/support/Row.h"
#include "tests/support/ServerRing.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>

namespace cabinaudio::test {
namespace {

using Outcome = FramedRing::Outcome;

constexpr unsigned RING_BYTES = 1024;

/// A ring and the frames in it, of the codec with the long header (Opus) or the short one (LOAS).
class FramedRingTest : public ::testing::Test {
protected:
    static constexpr LogSite SITE{"ClientRecordRt", "read"};
    std::unique_ptr<ShareMemoryEx> ring = posixRing("frames", RING_BYTES);
    FramedRing opus{*ring, CODEC_OPUS, OPUS_HEADER_BYTES};
    FramedRing loas{*ring, CODEC_LOAS, LOAS_HEADER_BYTES};
    Bytes buffer = Bytes(RING_BYTES, 0x5a);

    [[nodiscard]] Bytes taken(std::size_t count) const {
        return {buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count)};
    }
};

const Bytes OPUS_FRAME{0, 0, 0, 5, 1, 2, 3, 4, 'a', 'b', 'c', 'd', 'e'};
const Bytes LOAS_FRAME{0x56, 0xe0, 2, 'x', 'y'};

TEST_F(FramedRingTest, EmptyRingGivesNothing) {
    EXPECT_EQ(opus.takeWithin(buffer.data(), 100).outcome, Outcome::Missing);
    EXPECT_EQ(opus.takeWhole(buffer.data(), SITE), 0U);
}

TEST_F(FramedRingTest, PartOfAHeaderStays) {
    ASSERT_TRUE(put(*ring, {0, 0, 0, 5, 1, 2, 3}));
    EXPECT_EQ(opus.takeWithin(buffer.data(), 100).outcome, Outcome::Missing);
    EXPECT_EQ(opus.takeWhole(buffer.data(), SITE), 0U);
    EXPECT_EQ(ring->getUsedSize(), 7U) << "nothing was taken";
}

struct NeedRow : Row {
    std::uint32_t codec;
    Bytes inRing;
    unsigned needed;
};

class FramedRingNeed : public FramedRingTest, public ::testing::WithParamInterface<NeedRow> {};

TEST_P(FramedRingNeed, IsToldByTheHeaderWhichStaysInTheRing) {
    const NeedRow& row = GetParam();
    if (!row.inRing.empty()) {
        ASSERT_TRUE(put(*ring, row.inRing));
    }
    FramedRing& frames = row.codec == CODEC_OPUS ? opus : loas;
    EXPECT_EQ(frames.needed(), row.needed);
    EXPECT_EQ(ring->getUsedSize(), row.inRing.size());
}

INSTANTIATE_TEST_SUITE_P(
    Of, FramedRingNeed,
    ::testing::Values(
        NeedRow{"AnEmptyOpusRing", CODEC_OPUS, {}, OPUS_HEADER_BYTES},
        NeedRow{"AnEmptyLoasRing", CODEC_LOAS, {}, LOAS_HEADER_BYTES},
        NeedRow{"PartOfAHeader", CODEC_OPUS, {0, 0, 0, 5, 1, 2, 3}, OPUS_HEADER_BYTES},
        NeedRow{"AnOpusHeader", CODEC_OPUS, {0, 0, 1, 2, 1, 2, 3, 4}, 8 + 0x102},
        NeedRow{"ALoasHeaderOf13Bits", CODEC_LOAS, {0x56, 0xe1, 0x10}, 3 + 0x110},
        NeedRow{
            "AnImpossibleLength", CODEC_OPUS, {255, 255, 255, 255, 1, 2, 3, 4}, OPUS_HEADER_BYTES}),
    ROW_NAME);

TEST_F(FramedRingTest, WholeFrameIsTakenIntoABufferOfItsLength) {
    ASSERT_TRUE(put(*ring, OPUS_FRAME));
    const FramedRing::Frame frame = opus.takeWithin(buffer.data(), 13);
    EXPECT_EQ(frame.outcome, Outcome::Taken);
    EXPECT_EQ(frame.bytes, 13U);
    EXPECT_EQ(taken(14), (Bytes{0, 0, 0, 5, 1, 2, 3, 4, 'a', 'b', 'c', 'd', 'e', 0x5a}));
    EXPECT_EQ(ring->getUsedSize(), 0U);
}

TEST_F(FramedRingTest, IncompleteFrameIsMissingAndStays) {
    ASSERT_TRUE(put(*ring, {0, 0, 0, 5, 1, 2, 3, 4, 'a', 'b', 'c', 'd'}));
    EXPECT_EQ(opus.takeWithin(buffer.data(), 100).outcome, Outcome::Missing);
    EXPECT_EQ(ring->getUsedSize(), 12U);
}

TEST_F(FramedRingTest, FrameThatIsTooLongForTheBufferStays) {
    ASSERT_TRUE(put(*ring, OPUS_FRAME));
    const FramedRing::Frame frame = opus.takeWithin(buffer.data(), 12);
    EXPECT_EQ(frame.outcome, Outcome::TooLong);
    EXPECT_EQ(frame.bytes, 13U);
    EXPECT_EQ(taken(1), Bytes{0x5a}) << "nothing was stored";
    EXPECT_EQ(ring->getUsedSize(), 13U);
}

TEST_F(FramedRingTest, HeaderOfAnImpossibleFrameIsDropped) {
    ASSERT_TRUE(put(*ring, {0, 0, 4, 0, 1, 2, 3, 4}));
    const FramedRing::Frame frame = opus.takeWithin(buffer.data(), RING_BYTES);
    EXPECT_EQ(frame.outcome, Outcome::Impossible);
    EXPECT_EQ(frame.bytes, 0x400U);
    EXPECT_EQ(ring->getUsedSize(), 0U);
}

TEST_F(FramedRingTest, TakeWholeWantsMoreInTheRingThanTheFrame) {
    const LogCapture log;
    ASSERT_TRUE(put(*ring, LOAS_FRAME));
    ASSERT_TRUE(put(*ring, LOAS_FRAME));
    EXPECT_EQ(loas.takeWhole(buffer.data(), SITE), 5U);
    EXPECT_EQ(taken(6), (Bytes{0x56, 0xe0, 2, 'x', 'y', 0x5a}));
    EXPECT_TRUE(logged(log, DEBUG, "ClientRecordRt", "read",
                       "AUDIO IGNORE(0==mShareMemory->read(buffer, mHeaderSize))!\n"))
        << "also when the header could be read";
    EXPECT_EQ(loas.takeWhole(buffer.data(), SITE), 0U) << "the last frame fills the ring's rest";
    EXPECT_EQ(ring->getUsedSize(), 2U) << "its header is lost";
}

}  // namespace
}  // namespace cabinaudio::test
