// SPDX-License-Identifier: Apache-2.0
#include "tests/client/GuardedBuffer.h"
#include "tests/client/SilentPackets.h"
#include "tests/client/UplinkFixture.h"

#include <algorithm>
#include <limits>

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t AAC = 16;
constexpr std::uint32_t OPUS = 32;
constexpr std::uint32_t MSBC = 65;
constexpr std::uint8_t UNTOUCHED = 0x5a;

/// A frame as the server sends it, its body a pattern.
Bytes frameOf(std::uint32_t codec, std::uint32_t length, unsigned start = 0) {
    const auto byte = [length](int shift) { return static_cast<std::uint8_t>(length >> shift); };
    Bytes frame = codec == OPUS ? Bytes{byte(24), byte(16), byte(8), byte(0), 9, 8, 7, 6}
                                : Bytes{0x56, static_cast<std::uint8_t>(0xe0 | byte(8)), byte(0)};
    const Bytes body = pattern(length, start);
    frame.insert(frame.end(), body.begin(), body.end());
    return frame;
}

/// Reads of frames into a buffer that ends where they say.
class AFrameWithinACapacity : public AnUplinkInTime {
protected:
    int readFrame(int capacity, bool isBlock) {
        std::fill(data.begin(), data.end(), UNTOUCHED);
        const int got = time.during([&] {
            return dynamic_cast<ClientRecordRt&>(*record).readFrame(data.data(), capacity, isBlock);
        });
        const auto limit = static_cast<std::ptrdiff_t>(got < 0 ? 0 : std::min(got, capacity));
        EXPECT_TRUE(std::all_of(data.begin() + limit, data.end(), [](unsigned char byte) {
            return byte == UNTOUCHED;
        })) << "bytes behind what was given have changed";
        return got;
    }
    [[nodiscard]] unsigned left() const { return serverRing->getUsedSize(); }
};

class ALiveFrame : public AFrameWithinACapacity,
                   public ::testing::WithParamInterface<std::uint32_t> {
protected:
    ALiveFrame() { makeLive(speech(GetParam()), 20'000); }

    [[nodiscard]] static Bytes frame(std::uint32_t length, unsigned start = 0) {
        return frameOf(GetParam(), length, start);
    }
    [[nodiscard]] static int headerSize() { return GetParam() == OPUS ? 8 : 3; }
};

INSTANTIATE_TEST_SUITE_P(OfEachKind, ALiveFrame, ::testing::Values(AAC, OPUS),
                         [](const auto& codec) { return codec.param == OPUS ? "Opus" : "Aac"; });

TEST_P(ALiveFrame, IsTakenAsSoonAsAllOfItIsThere) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    const int whole = headerSize() + 100;
    EXPECT_EQ(readFrame(1000, true), whole) << "also when nothing lies behind it";
    EXPECT_EQ(heard(whole), frame(100));
    EXPECT_EQ(left(), 0U);
    EXPECT_EQ(time.takeWaits(), Waits{});
}

TEST_P(ALiveFrame, FitsIntoACapacityOfItsLength) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    const int whole = headerSize() + 100;
    EXPECT_EQ(readFrame(whole, true), whole);
    EXPECT_EQ(heard(whole), frame(100));
}

TEST_P(ALiveFrame, ThatDoesNotFitStaysWhereItIs) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    ASSERT_TRUE(put(*serverRing, frame(20, 500)));
    const int whole = headerSize() + 100;
    const unsigned before = left();
    for (const int capacity : {1, headerSize() - 1, headerSize(), headerSize() + 1, whole - 1})
        for (const bool isBlock : {false, true}) {
            EXPECT_EQ(readFrame(capacity, isBlock), AUDIO_NO_MEMORY) << capacity;
            EXPECT_EQ(left(), before);
        }
    EXPECT_EQ(log.count(ERROR, "[rec]frame of " + std::to_string(whole) +
                                   " bytes does not fit into " + std::to_string(whole - 1) + "\n"),
              2U)
        << log.dump();
    EXPECT_EQ(readFrame(whole, true), whole);
    EXPECT_EQ(heard(whole), frame(100));
    EXPECT_EQ(readFrame(whole, true), headerSize() + 20);
    EXPECT_EQ(heard(headerSize() + 20), frame(20, 500));
}

TEST_P(ALiveFrame, ThatWasRefusedCanBeReadWithoutALimit) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    ASSERT_TRUE(put(*serverRing, {0}));
    EXPECT_EQ(readFrame(10, true), AUDIO_NO_MEMORY);
    EXPECT_EQ(read(headerSize() + 100, true), headerSize() + 100);
    EXPECT_EQ(heard(headerSize() + 100), frame(100));
}

TEST_P(ALiveFrame, OfWhichAPartIsThereIsNotTaken) {
    Bytes part = frame(100);
    const std::uint8_t last = part.back();
    part.pop_back();
    ASSERT_TRUE(put(*serverRing, part));
    EXPECT_EQ(readFrame(1000, false), 0);
    EXPECT_EQ(left(), part.size());
    ASSERT_TRUE(put(*serverRing, {last}));
    EXPECT_EQ(readFrame(1000, false), headerSize() + 100);
    EXPECT_EQ(heard(headerSize() + 100), frame(100));
}

TEST_P(ALiveFrame, OfWhoseHeaderAPartIsThereIsNotTaken) {
    const Bytes whole = frame(0);
    ASSERT_TRUE(put(*serverRing, Bytes(whole.begin(), whole.end() - 1)));
    EXPECT_EQ(readFrame(1000, false), 0);
    ASSERT_TRUE(put(*serverRing, {whole.back()}));
    EXPECT_EQ(readFrame(1000, false), headerSize());
    EXPECT_EQ(heard(headerSize()), whole);
}

TEST_P(ALiveFrame, IsWaitedForByte) {
    const Bytes whole = frame(50);
    for (std::size_t at = 0; at < whole.size(); ++at)
        time.wakeAfter(1, [this, byte = whole[at]] { ASSERT_TRUE(put(*serverRing, {byte})); });
    EXPECT_EQ(readFrame(1000, true), static_cast<int>(whole.size()));
    EXPECT_EQ(heard(static_cast<int>(whole.size())), whole);
    EXPECT_EQ(time.takeWaits(), Waits(whole.size(), 1000));
}

TEST_P(ALiveFrame, ThatStaysAwayForASecondIsToldAsAWrongState) {
    ASSERT_TRUE(put(*serverRing, {0}));
    EXPECT_EQ(readFrame(1000, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(time.takeWaits(), Waits{1000});
    EXPECT_EQ(left(), 1U);
    EXPECT_EQ(
        log.count(ERROR, "ClientRecordRt", "readFrame", "[rec] client read data error state:3\n"),
        1U)
        << log.dump();
}

TEST_P(ALiveFrame, MayBeWrappedRoundTheEndOfTheRing) {
    const int whole = headerSize() + 101;
    for (unsigned i = 0; i < 400; ++i) {
        ASSERT_TRUE(put(*serverRing, frame(101, i)));
        ASSERT_EQ(readFrame(whole - 1, true), AUDIO_NO_MEMORY) << i;
        ASSERT_EQ(readFrame(whole, true), whole) << i;
        ASSERT_EQ(heard(whole), frame(101, i)) << i;
    }
}

TEST_P(ALiveFrame, MayFillTheRingToItsLastByte) {
    const std::uint32_t body = GetParam() == OPUS ? 20'000 - 1 - 8 : 0x1fff;
    ASSERT_TRUE(put(*serverRing, frame(body)));
    data.assign(30'000, 0);
    const int whole = headerSize() + static_cast<int>(body);
    EXPECT_EQ(readFrame(whole - 1, true), AUDIO_NO_MEMORY);
    EXPECT_EQ(readFrame(whole, true), whole);
    EXPECT_EQ(heard(whole), frame(body));
}

TEST_P(ALiveFrame, IsCountedAndEndsWithTheRing) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    EXPECT_EQ(readFrame(1000, true), headerSize() + 100);
    time.wakeAfter(5, [&] { takeRing(); });
    const int silence = GetParam() == OPUS ? 11 : 0;
    EXPECT_EQ(readFrame(1000, true), silence);
}

TEST_P(ALiveFrame, IsWaitedForUntilAStop) {
    time.wakeAfter(5, [&] { EXPECT_EQ(record->stop(), AUDIO_NO_ERROR); });
    EXPECT_EQ(readFrame(1000, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(readFrame(1000, true), AUDIO_INVALID_STATE) << "not started";
}

TEST_F(AFrameWithinACapacity, OfALengthThatTheRingCannotHoldLosesItsHeader) {
    makeLive(speech(OPUS));
    data.assign(10'000, 0);
    for (const std::uint32_t length :
         {4096U - 8U, 4096U, 0x7fffffffU, 0x80000000U, 0xfffffff8U, 0xffffffffU}) {
        serverRing->clear();
        Bytes header = frameOf(OPUS, 0);
        for (int i = 0; i < 4; ++i)
            header[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(length >> 8 * (3 - i));
        ASSERT_TRUE(put(*serverRing, header));
        ASSERT_TRUE(put(*serverRing, frameOf(OPUS, 30)));
        EXPECT_EQ(readFrame(10'000, true), AUDIO_BAD_VALUE) << length;
        EXPECT_EQ(log.count(ERROR, "[rec]frame of " + std::to_string(length) +
                                       " bytes is longer than the ring, its header is dropped\n"),
                  1U)
            << log.dump();
        EXPECT_EQ(readFrame(10'000, true), 38) << "what follows is read";
        EXPECT_EQ(heard(38), frameOf(OPUS, 30));
    }
}

TEST_F(AFrameWithinACapacity, IsOfferedAgainByARingWhoseHeaderBecomesImpossible) {
    makeLive(speech(OPUS));
    ASSERT_TRUE(put(*serverRing, frameOf(OPUS, 30)));
    const unsigned write = serverRing->getWriteOffset();
    serverRing->updateWriteOffset(0xffffffffU);
    EXPECT_EQ(readFrame(1000, false), 0);
    EXPECT_EQ(readFrame(1000, true), AUDIO_INVALID_STATE);
    serverRing->updateWriteOffset(write);
    EXPECT_EQ(readFrame(1000, false), 38);
}

TEST_F(AFrameWithinACapacity, OfLiveMsbcIsRefused) {
    makeUplink(512, speech(MSBC));
    start();
    giveRing();
    ASSERT_TRUE(put(*serverRing, pattern(600)));
    EXPECT_EQ(readFrame(1000, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(readFrame(1000, false), AUDIO_BAD_VALUE);
    EXPECT_EQ(log.count(ERROR, "[rec] please input right mCodecTag,current mCodecTag(65)\n"), 2U)
        << log.dump();
    EXPECT_EQ(left(), 600U);
}

TEST_F(AFrameWithinACapacity, IsSilentAtThePaceOfTheStream) {
    makeActive(512, speech(OPUS));  // 32 bytes a millisecond; a packet counts as 640
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(readFrame(1000, true), 11);
        EXPECT_EQ(heard(11), silentOpusPacket(16000));
    }
    EXPECT_EQ(time.takeWaits(), Waits(10, 20));
    EXPECT_EQ(readFrame(1000, false), 0);
    time.pass(19);
    EXPECT_EQ(readFrame(1000, false), 0);
    time.pass(1);
    EXPECT_EQ(readFrame(1000, false), 11);
}

TEST_F(AFrameWithinACapacity, IsSilentAndDoesNotFit) {
    makeActive(512, speech(OPUS));
    EXPECT_EQ(readFrame(10, true), AUDIO_NO_MEMORY);
    EXPECT_EQ(readFrame(10, false), AUDIO_NO_MEMORY) << "still due";
    EXPECT_EQ(readFrame(11, false), 11) << "still due";
    EXPECT_EQ(readFrame(11, false), 0);
}

TEST_F(AFrameWithinACapacity, IsASilentOneOfMsbc) {
    makeActive(512, speech(MSBC));
    EXPECT_EQ(readFrame(56, true), AUDIO_NO_MEMORY);
    EXPECT_EQ(readFrame(57, true), 57);
}

TEST_F(AFrameWithinACapacity, HasNoSilenceInAac) {
    makeActive(512, speech(AAC));
    EXPECT_EQ(readFrame(1, true), 0);
    EXPECT_EQ(readFrame(1, true), 0);
    EXPECT_EQ(time.takeWaits(), (Waits{16, 16})) << "but a pace";
}

TEST_F(AFrameWithinACapacity, HasAPaceEvenWhenTheServerNamesNone) {
    makeActive(0, speech(AAC));
    EXPECT_EQ(readFrame(1, true), 0);
    EXPECT_EQ(readFrame(1, false), 0);
    EXPECT_EQ(time.takeWaits(), Waits{16});
}

TEST_F(AFrameWithinACapacity, IsWhatAReadGivesInLinearPcm) {
    makeLive();
    ASSERT_TRUE(put(*serverRing, pattern(700)));
    EXPECT_EQ(readFrame(512, true), 512);
    EXPECT_EQ(heard(512), pattern(512));
    EXPECT_EQ(readFrame(512, false), 188);
    EXPECT_EQ(heard(188), pattern(188, 512));
    EXPECT_EQ(readFrame(512, false), 0);
}

TEST_F(AFrameWithinACapacity, NeedsABufferAndAStart) {
    makeUplink(512, speech(OPUS));
    auto& uplink = dynamic_cast<ClientRecordRt&>(*record);
    EXPECT_EQ(uplink.readFrame(nullptr, 100, true), AUDIO_BAD_VALUE);
    for (const int capacity : {0, -1, std::numeric_limits<int>::min()})
        EXPECT_EQ(uplink.readFrame(data.data(), capacity, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(log.count(ERROR, "ClientRecordRt", "readFrame", "[rec]invalid input param bytes:0\n"),
              1U)
        << log.dump();
    EXPECT_EQ(readFrame(100, false), AUDIO_INVALID_STATE);
}

/// Real time, real threads.
class AFrameInRealTime : public ACaptureStream {};

TEST_F(AFrameInRealTime, IsReadByOneAtATime) {
    makeUplink(512, speech(OPUS));
    start();
    giveRing();
    ASSERT_TRUE(put(*serverRing, frameOf(OPUS, 30)));
    auto& uplink = dynamic_cast<ClientRecordRt&>(*record);
    ASSERT_EQ(uplink.readFrame(data.data(), 38, true), 38);
    std::future<int> reader = blockedRead(300);
    unsigned char other[100];
    EXPECT_EQ(uplink.readFrame(other, sizeof other, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(record->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(reader.get(), AUDIO_INVALID_STATE);
}

/// Each frame fits exactly in front of a page that cannot be written.
TEST_F(AFrameInRealTime, NeverTouchesWhatLiesBehindTheBuffer) {
    makeUplink(512, speech(OPUS));
    start();
    giveRing();
    auto& uplink = dynamic_cast<ClientRecordRt&>(*record);
    for (std::uint32_t length = 0; length < 200; length += 7) {
        const GuardedBuffer buffer(length + 8);
        ASSERT_TRUE(put(*serverRing, frameOf(OPUS, length, length)));
        const int whole = static_cast<int>(length) + 8;
        ASSERT_EQ(uplink.readFrame(buffer.data(), whole, true), whole);
        const Bytes expected = frameOf(OPUS, length, length);
        ASSERT_EQ(buffer.bytes(), expected) << length;
    }
}

}  // namespace
}  // namespace cabinaudio::test
