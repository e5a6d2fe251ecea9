// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/client/SilentPackets.h"
#include "tests/client/UplinkFixture.h"

#include <android/log.h>

#include <algorithm>

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t AAC = 16;
constexpr std::uint32_t OPUS = 32;
constexpr std::uint32_t MSBC = 65;

/// A packet as the server sends it, its body a pattern.
Bytes opusPacket(std::uint32_t length, unsigned start = 0) {
    Bytes packet = {static_cast<std::uint8_t>(length >> 24),
                    static_cast<std::uint8_t>(length >> 16),
                    static_cast<std::uint8_t>(length >> 8),
                    static_cast<std::uint8_t>(length),
                    9,
                    8,
                    7,
                    6};
    const Bytes body = pattern(length, start);
    packet.insert(packet.end(), body.begin(), body.end());
    return packet;
}

/// A LOAS frame: 11 bits of sync word, 13 bits of length.
Bytes loasFrame(std::uint32_t length, unsigned start = 0) {
    Bytes frame = {0x56, static_cast<std::uint8_t>(0xe0 | length >> 8),
                   static_cast<std::uint8_t>(length)};
    const Bytes body = pattern(length, start);
    frame.insert(frame.end(), body.begin(), body.end());
    return frame;
}

Bytes frameOf(std::uint32_t codec, std::uint32_t length, unsigned start = 0) {
    return codec == OPUS ? opusPacket(length, start) : loasFrame(length, start);
}

constexpr const char* HEADER_LINE = "AUDIO IGNORE(0==mShareMemory->read(buffer, mHeaderSize))!\n";
constexpr const char* BODY_LINE =
    "AUDIO IGNORE(mShareMemory->read(buffer + mHeaderSize, frameSize))!\n";

/// A stream of frames with lengths of their own.
class AFrame : public AnUplinkInTime, public ::testing::WithParamInterface<std::uint32_t> {
protected:
    AFrame() { makeLive(speech(GetParam()), 20'000); }

    [[nodiscard]] static Bytes frame(std::uint32_t length, unsigned start = 0) {
        return frameOf(GetParam(), length, start);
    }
    [[nodiscard]] static int headerSize() { return GetParam() == OPUS ? 8 : 3; }
    /// What a read gives instead of a frame that is not there.
    [[nodiscard]] static Bytes silence() {
        return GetParam() == OPUS ? silentOpusPacket(16000) : Bytes{};
    }
    [[nodiscard]] unsigned left() const { return serverRing->getUsedSize(); }
};

INSTANTIATE_TEST_SUITE_P(OfEachKind, AFrame, ::testing::Values(AAC, OPUS),
                         [](const auto& codec) { return codec.param == OPUS ? "Opus" : "Aac"; });

TEST_P(AFrame, IsReadWithItsHeader) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    ASSERT_TRUE(put(*serverRing, frame(50, 1000)));
    const int whole = headerSize() + 100;
    EXPECT_EQ(read(whole, true), whole);
    EXPECT_EQ(heard(whole), frame(100));
    EXPECT_EQ(left(), static_cast<unsigned>(headerSize()) + 50U);
    EXPECT_EQ(log.count(DEBUG, "ClientRecordRt", "read", HEADER_LINE), 1U)
        << "says so when it went well";
    EXPECT_EQ(log.count(DEBUG, BODY_LINE), 0U) << log.dump();
}

TEST_P(AFrame, IsLongerThanTheRequestWhenItsLengthSaysSo) {
    ASSERT_TRUE(put(*serverRing, frame(1000)));
    ASSERT_TRUE(put(*serverRing, {0}));
    EXPECT_EQ(read(20, true), headerSize() + 1000);
    EXPECT_EQ(heard(headerSize() + 1000), frame(1000));
    EXPECT_EQ(left(), 1U);
}

TEST_P(AFrame, IsShorterThanTheRequestWhenItsLengthSaysSo) {
    ASSERT_TRUE(put(*serverRing, frame(20)));
    ASSERT_TRUE(put(*serverRing, frame(100)));
    std::fill(data.begin(), data.end(), static_cast<unsigned char>(0x5a));
    EXPECT_EQ(read(100, true), headerSize() + 20);
    EXPECT_EQ(data[static_cast<std::size_t>(headerSize()) + 20], 0x5a);
}

TEST_P(AFrame, ThatIsNotAllThereIsSilenceAndItsHeaderIsLost) {
    Bytes part = frame(100);
    part.resize(30);
    ASSERT_TRUE(put(*serverRing, part));
    EXPECT_EQ(read(20, true), static_cast<int>(silence().size()));
    EXPECT_EQ(heard(static_cast<int>(silence().size())), silence());
    EXPECT_EQ(left(), 30U - static_cast<unsigned>(headerSize()));
}

/// A frame counts as there only when something lies behind it.
TEST_P(AFrame, ThatIsTheLastInTheRingIsSilence) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    EXPECT_EQ(read(20, true), static_cast<int>(silence().size()));
    EXPECT_EQ(left(), 100U);
}

TEST_P(AFrame, ThatIsTheLastButForOneByteIsRead) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    ASSERT_TRUE(put(*serverRing, {0x77}));
    EXPECT_EQ(read(20, true), headerSize() + 100);
    EXPECT_EQ(left(), 1U);
}

TEST_P(AFrame, OfNoLengthIsItsHeader) {
    ASSERT_TRUE(put(*serverRing, frame(0)));
    ASSERT_TRUE(put(*serverRing, pattern(20)));
    EXPECT_EQ(read(20, true), headerSize());
    EXPECT_EQ(heard(headerSize()), frame(0));
    EXPECT_EQ(log.count(DEBUG, "ClientRecordRt", "read", BODY_LINE), 1U) << log.dump();
    EXPECT_EQ(left(), 20U);
}

TEST_P(AFrame, OfTheGreatestLengthThatItsHeaderCanSayIsTakenToTheByte) {
    ASSERT_TRUE(put(*serverRing, frame(0x1fff)));
    ASSERT_TRUE(put(*serverRing, {0}));
    EXPECT_EQ(read(20, true), headerSize() + 0x1fff);
    EXPECT_EQ(heard(headerSize() + 0x1fff), frame(0x1fff));
}

TEST_P(AFrame, AfterAFrameComesInOrder) {
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
        ASSERT_EQ(read(12, true), static_cast<int>(expected.size())) << i;
        ASSERT_EQ(heard(static_cast<int>(expected.size())), expected) << i;
    }
    EXPECT_EQ(left(), 1U);
}

TEST_P(AFrame, IsWaitedForAsLongAsTheRequestIsNotThere) {
    ASSERT_TRUE(put(*serverRing, frame(100)));
    time.wakeAfter(3, [&] { ASSERT_TRUE(put(*serverRing, pattern(30))); });
    EXPECT_EQ(read(120, true), headerSize() + 100);
    EXPECT_EQ(time.takeWaits(), Waits{1000});
}

class APacket : public AnUplinkInTime {};

TEST_F(APacket, OfAnImpossibleLengthIsSilence) {
    makeLive(speech(OPUS));
    for (const std::uint32_t length : {0x7fffffffU, 0x80000000U, 0xfffffff8U, 0xffffffffU, 4096U}) {
        serverRing->clear();
        Bytes header = opusPacket(0);
        for (int i = 0; i < 4; ++i)
            header[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(length >> 8 * (3 - i));
        ASSERT_TRUE(put(*serverRing, header));
        ASSERT_TRUE(put(*serverRing, pattern(100)));
        EXPECT_EQ(read(20, true), 11) << length;
        EXPECT_EQ(heard(11), silentOpusPacket(16000));
        EXPECT_EQ(serverRing->getUsedSize(), 100U);
    }
}

TEST_F(APacket, LeavesAHeaderThatIsNotAllThereWhereItIs) {
    makeLive(speech(AAC));
    ASSERT_TRUE(put(*serverRing, {0x56, 0xe0}));
    EXPECT_EQ(read(2, true), 0) << "there is no silence of this kind";
    EXPECT_EQ(serverRing->getUsedSize(), 2U);
    EXPECT_EQ(log.count(DEBUG, HEADER_LINE), 0U) << log.dump();
    ASSERT_TRUE(put(*serverRing, {0x04, 1, 2, 3, 4, 0}));
    EXPECT_EQ(read(2, true), 7);
    EXPECT_EQ(heard(7), (Bytes{0x56, 0xe0, 0x04, 1, 2, 3, 4}));
}

TEST_F(APacket, IgnoresTheSyncWordOfALength) {
    makeLive(speech(AAC));
    ASSERT_TRUE(put(*serverRing, {0xff, 0xff, 0xff}));
    ASSERT_TRUE(put(*serverRing, pattern(30)));
    EXPECT_EQ(read(10, true), 0) << "8191 bytes are not there";
    EXPECT_EQ(serverRing->getUsedSize(), 30U);
}

TEST_F(APacket, MayBeWrappedRoundTheEndOfTheRing) {
    makeLive(speech(OPUS), 300);
    for (unsigned i = 0; i < 50; ++i) {
        ASSERT_TRUE(put(*serverRing, opusPacket(101, i)));
        ASSERT_TRUE(put(*serverRing, {0}));
        ASSERT_EQ(read(100, true), 109) << i;
        ASSERT_EQ(heard(109), opusPacket(101, i)) << i;
        serverRing->updateReadOffset(serverRing->getWriteOffset());
    }
}

class AnUnreadableCodec : public AnUplinkInTime,
                          public ::testing::WithParamInterface<std::uint32_t> {};

TEST_P(AnUnreadableCodec, RefusesEveryLiveReadAndLeavesTheDataInTheRing) {
    server.on(CREATE, Answer::words(0, 0, 0, 512, 16, 256, 0));
    AudioFormatDesc format = speech(GetParam());
    record = std::make_unique<ClientRecordRt>("rec", AUDIO_TAG_UPLINK, format);
    kind = Kind::UPLINK;
    start();
    giveRing();
    ASSERT_TRUE(put(*serverRing, pattern(600)));
    EXPECT_EQ(read(456, true), AUDIO_BAD_VALUE);
    EXPECT_EQ(read(456, false), AUDIO_BAD_VALUE);
    EXPECT_EQ(log.count(ERROR, "[rec] please input right mCodecTag,current mCodecTag(" +
                                   std::to_string(GetParam()) + ")\n"),
              2U)
        << log.dump();
    EXPECT_EQ(serverRing->getUsedSize(), 600U);
    EXPECT_EQ(record->bytesUsed(), 600);
}

INSTANTIATE_TEST_SUITE_P(OfMany, AnUnreadableCodec, ::testing::Values(MSBC, 51, 19, 64));

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

TEST(APacketDeathTest, WithoutAHeaderAndRoomForSilenceIsABrokenInvariant) {
    // A process under an emulator cannot execute itself; nothing else runs in it here.
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_DEATH(readLessThanAHeader(), "AUDIO ASSERT\\(readSize <= bytes\\)!");
}

}  // namespace
}  // namespace cabinaudio::test
