// SPDX-License-Identifier: Apache-2.0
#include "tests/client/GuardedBuffer.h"
#include "tests/client/SilentPackets.h"
#include "tests/client/UplinkFixture.h"

#include <algorithm>
#include <limits>

namespace cabinaudio::test {
namespace {

constexpr std::uint8_t UNTOUCHED = 0x5a;

/// Reads of frames into a buffer that ends where they say.
class LimitedFrame : public UplinkInTime {
protected:
    int readFrame(int capacity, bool isBlock) {
        std::fill(data.begin(), data.end(), UNTOUCHED);
        const int got = time.during([&] {
            return dynamic_cast<ClientRecordRt&>(*record).readFrame(data.data(), capacity, isBlock);
        });
        const auto limit = static_cast<std::ptrdiff_t>(got < 0 ? 0 : std::min(got, capacity));
        EXPECT_TRUE(std::all_of(data.begin() + limit, data.end(), [](unsigned char byte) {
            return byte == UNTOUCHED;
        })) << "bytes behind the frame have changed";
        return got;
    }
};

class LiveFrame : public LimitedFrame, public EachFrameCodec {
protected:
    LiveFrame() { makeLive(speech(GetParam()), 20'000); }
};

INSTANTIATE_TEST_SUITE_P(Codec, LiveFrame, ::testing::Values(AAC, OPUS), codecName);

TEST_P(LiveFrame, IsTakenAsSoonAsItIsComplete) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    EXPECT_TRUE(delivered(readFrame(1000, true), frame(100))) << "also when nothing lies behind it";
    EXPECT_EQ(left(), 0U);
    EXPECT_EQ(time.takeWaits(), Waits{});
}

TEST_P(LiveFrame, FitsIntoACapacityOfItsLength) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    const int whole = headerSize() + 100;
    EXPECT_TRUE(delivered(readFrame(whole, true), frame(100)));
}

TEST_P(LiveFrame, StaysInTheRingWhenItDoesNotFit) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    ASSERT_TRUE(put(*serverRing, frame(20, 500)));
    const int whole = headerSize() + 100;
    const unsigned before = left();
    for (const int capacity : {1, headerSize() - 1, headerSize(), headerSize() + 1, whole - 1})
        for (const bool isBlock : {false, true}) {
            EXPECT_EQ(readFrame(capacity, isBlock), AUDIO_NO_MEMORY) << capacity;
            EXPECT_EQ(left(), before);
        }
    EXPECT_TRUE(logged(ERROR,
                       "[rec]frame of " + std::to_string(whole) + " bytes does not fit into " +
                           std::to_string(whole - 1) + "\n",
                       2));
    EXPECT_TRUE(delivered(readFrame(whole, true), frame(100)));
    EXPECT_TRUE(delivered(readFrame(whole, true), frame(20, 500)));
}

TEST_P(LiveFrame, CanBeReadWithoutALimitAfterARefusal) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    ASSERT_TRUE(put(*serverRing, {0}));
    EXPECT_EQ(readFrame(10, true), AUDIO_NO_MEMORY);
    EXPECT_TRUE(delivered(read(headerSize() + 100, true), frame(100)));
}

TEST_P(LiveFrame, StaysWhenItIsIncomplete) {
    Bytes part = frame(100);
    const std::uint8_t last = part.back();
    part.pop_back();
    ASSERT_TRUE(put(*serverRing, part));
    EXPECT_EQ(readFrame(1000, false), 0);
    EXPECT_EQ(left(), part.size());
    ASSERT_TRUE(put(*serverRing, {last}));
    EXPECT_TRUE(delivered(readFrame(1000, false), frame(100)));
}

TEST_P(LiveFrame, StaysWhenItsHeaderIsIncomplete) {
    const Bytes whole = frame(0);
    ASSERT_TRUE(put(*serverRing, Bytes(whole.begin(), whole.end() - 1)));
    EXPECT_EQ(readFrame(1000, false), 0);
    ASSERT_TRUE(put(*serverRing, {whole.back()}));
    EXPECT_TRUE(delivered(readFrame(1000, false), whole));
}

TEST_P(LiveFrame, IsWaitedForByteByByte) {
    const Bytes whole = frame(50);
    for (std::size_t at = 0; at < whole.size(); ++at)
        time.wakeAfter(1, [this, byte = whole[at]] { ASSERT_TRUE(put(*serverRing, {byte})); });
    EXPECT_TRUE(delivered(readFrame(1000, true), whole));
    EXPECT_EQ(time.takeWaits(), Waits(whole.size(), 1000));
}

TEST_P(LiveFrame, ReturnsInvalidStateAfterASecondWithoutData) {
    ASSERT_TRUE(put(*serverRing, {0}));
    EXPECT_EQ(readFrame(1000, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(time.takeWaits(), Waits{1000});
    EXPECT_EQ(left(), 1U);
    EXPECT_TRUE(
        logged(ERROR, "ClientRecordRt", "readFrame", "[rec] client read data error state:3\n"));
}

TEST_P(LiveFrame, IsReadAcrossTheEndOfTheRing) {
    const int whole = headerSize() + 101;
    for (unsigned i = 0; i < 400; ++i) {
        ASSERT_TRUE(put(*serverRing, frame(101, i)));
        ASSERT_EQ(readFrame(whole - 1, true), AUDIO_NO_MEMORY) << i;
        ASSERT_TRUE(delivered(readFrame(whole, true), frame(101, i))) << i;
    }
}

TEST_P(LiveFrame, MayFillTheRingToItsLastByte) {
    const std::uint32_t body = GetParam() == OPUS ? 20'000 - 1 - 8 : 0x1fff;
    ASSERT_TRUE(put(*serverRing, frame(body)));
    data.assign(30'000, 0);
    const int whole = headerSize() + static_cast<int>(body);
    EXPECT_EQ(readFrame(whole - 1, true), AUDIO_NO_MEMORY);
    EXPECT_TRUE(delivered(readFrame(whole, true), frame(body)));
}

TEST_P(LiveFrame, GivesWayToSilenceWhenTheRingIsTaken) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    EXPECT_EQ(readFrame(1000, true), headerSize() + 100);
    time.wakeAfter(5, [&] { takeRing(); });
    const int silence = GetParam() == OPUS ? 11 : 0;
    EXPECT_EQ(readFrame(1000, true), silence);
}

TEST_P(LiveFrame, ReturnsInvalidStateWhenTheUplinkIsStopped) {
    time.wakeAfter(5, [&] { EXPECT_EQ(record->stop(), AUDIO_NO_ERROR); });
    EXPECT_EQ(readFrame(1000, true), AUDIO_INVALID_STATE);
    EXPECT_EQ(readFrame(1000, true), AUDIO_INVALID_STATE) << "not started";
}

TEST_F(LimitedFrame, LosesItsHeaderWhenTheRingCannotHoldItsLength) {
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
        EXPECT_TRUE(logged(ERROR, "[rec]frame of " + std::to_string(length) +
                                      " bytes is longer than the ring, its header is dropped\n"));
        EXPECT_TRUE(delivered(readFrame(10'000, true), frameOf(OPUS, 30)))
            << "the next frame is read";
    }
}

TEST_F(LimitedFrame, CanBeReadAfterTheRingsHeaderWasImpossible) {
    makeLive(speech(OPUS));
    ASSERT_TRUE(put(*serverRing, frameOf(OPUS, 30)));
    const unsigned write = serverRing->getWriteOffset();
    serverRing->updateWriteOffset(0xffffffffU);
    EXPECT_EQ(readFrame(1000, false), 0);
    EXPECT_EQ(readFrame(1000, true), AUDIO_INVALID_STATE);
    serverRing->updateWriteOffset(write);
    EXPECT_EQ(readFrame(1000, false), 38);
}

TEST_F(LimitedFrame, IsRefusedForLiveMsbc) {
    makeUplink(512, speech(MSBC));
    start();
    giveRing();
    ASSERT_TRUE(put(*serverRing, pattern(600)));
    EXPECT_EQ(readFrame(1000, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(readFrame(1000, false), AUDIO_BAD_VALUE);
    EXPECT_TRUE(logged(ERROR, "[rec] please input right mCodecTag,current mCodecTag(65)\n", 2));
    EXPECT_EQ(left(), 600U);
}

TEST_F(LimitedFrame, IsSilentAtThePaceOfTheStream) {
    makeActive(512, speech(OPUS));  // 32 bytes a millisecond; a packet counts as 640
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(delivered(readFrame(1000, true), silentOpusPacket(16000)));
    EXPECT_EQ(time.takeWaits(), Waits(10, 20));
    EXPECT_EQ(readFrame(1000, false), 0);
    time.pass(19);
    EXPECT_EQ(readFrame(1000, false), 0);
    time.pass(1);
    EXPECT_EQ(readFrame(1000, false), 11);
}

TEST_F(LimitedFrame, StaysDueWhenItsSilenceDoesNotFit) {
    makeActive(512, speech(OPUS));
    EXPECT_EQ(readFrame(10, true), AUDIO_NO_MEMORY);
    EXPECT_EQ(readFrame(10, false), AUDIO_NO_MEMORY) << "still due";
    EXPECT_EQ(readFrame(11, false), 11) << "still due";
    EXPECT_EQ(readFrame(11, false), 0);
}

TEST_F(LimitedFrame, IsSilentForMsbcWhenItFits) {
    makeActive(512, speech(MSBC));
    EXPECT_EQ(readFrame(56, true), AUDIO_NO_MEMORY);
    EXPECT_EQ(readFrame(57, true), 57);
}

TEST_F(LimitedFrame, HasNoSilenceButAPaceForAac) {
    makeActive(512, speech(AAC));
    EXPECT_EQ(readFrame(1, true), 0);
    EXPECT_EQ(readFrame(1, true), 0);
    EXPECT_EQ(time.takeWaits(), (Waits{16, 16})) << "but a pace";
}

TEST_F(LimitedFrame, HasAPaceEvenWhenTheServerGivesNone) {
    makeActive(0, speech(AAC));
    EXPECT_EQ(readFrame(1, true), 0);
    EXPECT_EQ(readFrame(1, false), 0);
    EXPECT_EQ(time.takeWaits(), Waits{16});
}

TEST_F(LimitedFrame, HasTheBytesOfAReadForLinearPcm) {
    makeLive();
    ASSERT_TRUE(put(*serverRing, pattern(700)));
    EXPECT_TRUE(delivered(readFrame(512, true), pattern(512)));
    EXPECT_TRUE(delivered(readFrame(512, false), pattern(188, 512)));
    EXPECT_EQ(readFrame(512, false), 0);
}

TEST_F(LimitedFrame, IsRefusedWithoutABufferOrAStart) {
    makeUplink(512, speech(OPUS));
    auto& uplink = dynamic_cast<ClientRecordRt&>(*record);
    EXPECT_EQ(uplink.readFrame(nullptr, 100, true), AUDIO_BAD_VALUE);
    for (const int capacity : {0, -1, std::numeric_limits<int>::min()})
        EXPECT_EQ(uplink.readFrame(data.data(), capacity, true), AUDIO_BAD_VALUE);
    EXPECT_TRUE(logged(ERROR, "ClientRecordRt", "readFrame", "[rec]invalid input param bytes:0\n"));
    EXPECT_EQ(readFrame(100, false), AUDIO_INVALID_STATE);
}

/// Real time, real threads.
class FrameInRealTime : public RecordFixture {};

TEST_F(FrameInRealTime, IsRefusedWhileAnotherReadWaits) {
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
TEST_F(FrameInRealTime, LeavesTheBytesBehindTheBufferAlone) {
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
