// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/client/SilentPackets.h"
#include "tests/client/UplinkFixture.h"

#include <android/log.h>

#include <algorithm>

namespace cabinaudio::test {
namespace {

constexpr const char* HEADER_LINE = "AUDIO IGNORE(0==mShareMemory->read(buffer, mHeaderSize))!\n";
constexpr const char* BODY_LINE =
    "AUDIO IGNORE(mShareMemory->read(buffer + mHeaderSize, frameSize))!\n";

/// A stream of frames with lengths of their own.
class UplinkFrame : public UplinkInTime, public EachFrameCodec {
protected:
    UplinkFrame() { makeLive(speech(GetParam()), 20'000); }

    /// The bytes of a read when no frame is there.
    [[nodiscard]] static Bytes silence() {
        return GetParam() == OPUS ? silentOpusPacket(16000) : Bytes{};
    }
};

INSTANTIATE_TEST_SUITE_P(Codec, UplinkFrame, ::testing::Values(AAC, OPUS), codecName);

TEST_P(UplinkFrame, IsReadWithItsHeader) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    ASSERT_TRUE(put(*serverRing, frame(50, 1000)));
    const int whole = headerSize() + 100;
    EXPECT_TRUE(delivered(read(whole, true), frame(100)));
    EXPECT_EQ(left(), static_cast<unsigned>(headerSize()) + 50U);
    EXPECT_TRUE(logged(DEBUG, "ClientRecordRt", "read", HEADER_LINE))
        << "says so when it went well";
    EXPECT_TRUE(logged(DEBUG, BODY_LINE, ABSENT));
}

TEST_P(UplinkFrame, IsLongerThanTheRequestWhenItsLengthSaysSo) {
    ASSERT_TRUE(put(*serverRing, frame(1000)));
    ASSERT_TRUE(put(*serverRing, {0}));
    EXPECT_TRUE(delivered(read(20, true), frame(1000)));
    EXPECT_EQ(left(), 1U);
}

TEST_P(UplinkFrame, IsShorterThanTheRequestWhenItsLengthSaysSo) {
    ASSERT_TRUE(put(*serverRing, frame(20)));
    ASSERT_TRUE(put(*serverRing, frame(100)));
    std::fill(data.begin(), data.end(), static_cast<unsigned char>(0x5a));
    EXPECT_EQ(read(100, true), headerSize() + 20);
    EXPECT_EQ(data[static_cast<std::size_t>(headerSize()) + 20], 0x5a);
}

TEST_P(UplinkFrame, GivesSilenceAndLosesItsHeaderWhenItIsIncomplete) {
    Bytes part = frame(100);
    part.resize(30);
    ASSERT_TRUE(put(*serverRing, part));
    EXPECT_TRUE(delivered(read(20, true), silence()));
    EXPECT_EQ(left(), 30U - static_cast<unsigned>(headerSize()));
}

/// A frame counts as there only when something lies behind it.
TEST_P(UplinkFrame, GivesSilenceWhenItIsTheLastInTheRing) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    EXPECT_EQ(read(20, true), static_cast<int>(silence().size()));
    EXPECT_EQ(left(), 100U);
}

TEST_P(UplinkFrame, IsReadWhenOneByteFollowsIt) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    ASSERT_TRUE(put(*serverRing, {0x77}));
    EXPECT_EQ(read(20, true), headerSize() + 100);
    EXPECT_EQ(left(), 1U);
}

TEST_P(UplinkFrame, IsItsHeaderWhenItsLengthIsZero) {
    ASSERT_TRUE(put(*serverRing, frame(0)));
    ASSERT_TRUE(put(*serverRing, pattern(20)));
    EXPECT_TRUE(delivered(read(20, true), frame(0)));
    EXPECT_TRUE(logged(DEBUG, "ClientRecordRt", "read", BODY_LINE));
    EXPECT_EQ(left(), 20U);
}

TEST_P(UplinkFrame, IsReadAtTheGreatestLength) {
    ASSERT_TRUE(put(*serverRing, frame(0x1fff)));
    ASSERT_TRUE(put(*serverRing, {0}));
    EXPECT_TRUE(delivered(read(20, true), frame(0x1fff)));
}

TEST_P(UplinkFrame, FollowsTheFrameBeforeIt) {
    // One byte more in the ring than frames, so that the last one counts as there.
    Bytes all;
    for (unsigned i = 0; i < 40; ++i) {
        const Bytes next = frame(10 + i * 7, i);
        all.insert(all.end(), next.begin(), next.end());
    }
    all.push_back(0);
    ASSERT_TRUE(put(*serverRing, all));
    for (unsigned i = 0; i < 40; ++i) {
        const Bytes expected = frame(10 + i * 7, i);
        ASSERT_TRUE(delivered(read(12, true), expected)) << i;
    }
    EXPECT_EQ(left(), 1U);
}

TEST_P(UplinkFrame, IsWaitedForUntilTheRequestedBytesAreThere) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    time.wakeAfter(3, [&] { ASSERT_TRUE(put(*serverRing, pattern(30))); });
    EXPECT_EQ(read(120, true), headerSize() + 100);
    EXPECT_EQ(time.takeWaits(), Waits{1000});
}

class UplinkPacket : public UplinkInTime {};

TEST_F(UplinkPacket, GivesSilenceForAnImpossibleLength) {
    makeLive(speech(OPUS));
    for (const std::uint32_t length : {0x7fffffffU, 0x80000000U, 0xfffffff8U, 0xffffffffU, 4096U}) {
        serverRing->clear();
        Bytes header = frameOf(OPUS, 0);
        for (int i = 0; i < 4; ++i)
            header[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(length >> 8 * (3 - i));
        ASSERT_TRUE(put(*serverRing, header));
        ASSERT_TRUE(put(*serverRing, pattern(100)));
        EXPECT_TRUE(delivered(read(20, true), silentOpusPacket(16000))) << length;
        EXPECT_EQ(serverRing->getUsedSize(), 100U);
    }
}

TEST_F(UplinkPacket, StaysWhenItsHeaderIsIncomplete) {
    makeLive(speech(AAC));
    ASSERT_TRUE(put(*serverRing, {0x56, 0xe0}));
    EXPECT_EQ(read(2, true), 0) << "there is no silence of this kind";
    EXPECT_EQ(serverRing->getUsedSize(), 2U);
    EXPECT_TRUE(logged(DEBUG, HEADER_LINE, ABSENT));
    ASSERT_TRUE(put(*serverRing, {0x04, 1, 2, 3, 4, 0}));
    EXPECT_TRUE(delivered(read(2, true), (Bytes{0x56, 0xe0, 0x04, 1, 2, 3, 4})));
}

TEST_F(UplinkPacket, LengthIgnoresTheSyncWord) {
    makeLive(speech(AAC));
    ASSERT_TRUE(put(*serverRing, {0xff, 0xff, 0xff}));
    ASSERT_TRUE(put(*serverRing, pattern(30)));
    EXPECT_EQ(read(10, true), 0) << "8191 bytes are not there";
    EXPECT_EQ(serverRing->getUsedSize(), 30U);
}

TEST_F(UplinkPacket, IsReadAcrossTheEndOfTheRing) {
    makeLive(speech(OPUS), 300);
    for (unsigned i = 0; i < 50; ++i) {
        ASSERT_TRUE(put(*serverRing, frameOf(OPUS, 101, i)));
        ASSERT_TRUE(put(*serverRing, {0}));
        ASSERT_TRUE(delivered(read(100, true), frameOf(OPUS, 101, i))) << i;
        serverRing->updateReadOffset(serverRing->getWriteOffset());
    }
}

class UnreadableCodec : public UplinkInTime, public ::testing::WithParamInterface<std::uint32_t> {};

TEST_P(UnreadableCodec, RefusesEveryLiveReadAndLeavesTheDataInTheRing) {
    server.on(CREATE, Answer::words(0, 0, 0, 512, 16, 256, 0));
    AudioFormatDesc format = speech(GetParam());
    record = std::make_unique<ClientRecordRt>("rec", AUDIO_TAG_UPLINK, format);
    kind = Kind::Uplink;
    start();
    giveRing();
    ASSERT_TRUE(put(*serverRing, pattern(600)));
    EXPECT_EQ(read(456, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(read(456, false), AUDIO_BAD_VALUE);
    EXPECT_TRUE(logged(ERROR,
                       "[rec] please input right mCodecTag,current mCodecTag(" +
                           std::to_string(GetParam()) + ")\n",
                       2));
    EXPECT_EQ(serverRing->getUsedSize(), 600U);
    EXPECT_EQ(record->bytesUsed(), 600);
}

INSTANTIATE_TEST_SUITE_P(OfMany, UnreadableCodec, ::testing::Values(MSBC, 51, 19, 64));

/// In a process of its own: a packet's header is not there yet, and its silence does not fit.
void readLessThanAHeader() {
    __android_log_set_logger(__android_log_stderr_logger);
    ScriptedServer server;
    server.on(2, Answer::words(0, 0, 0, 512, 16, 256, 0));
    server.on(18, Answer::words(0, RING_ADDRESS, 4096));
    const auto ring = physicalRing("rec", 4096);
    AudioFormatDesc format = speech(OPUS);
    ClientRecordRt record("rec", AUDIO_TAG_UPLINK, format);
    if (record.start() != AUDIO_NO_ERROR) return;
    server.notify(2, 1);
    while (record.getTotalBufferSize() == 0)
        AudioTime::sleep(1000);
    unsigned char buffer[4096];
    if (!put(*ring, pattern(5))) return;
    (void)record.read(buffer, 5, false);
}

TEST(UplinkPacketDeathTest, AssertsRoomForSilenceWithoutAHeader) {
    // A process under an emulator cannot execute itself; nothing else runs in it here.
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_DEATH(readLessThanAHeader(), "AUDIO ASSERT\\(readSize <= bytes\\)!");
}

}  // namespace
}  // namespace cabinaudio::test
