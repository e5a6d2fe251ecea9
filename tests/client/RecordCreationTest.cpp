// SPDX-License-Identifier: Apache-2.0
#include "tests/client/RecordFixture.h"
#include "tests/support/ConfigDirectory.h"
#include "tests/support/ProcessState.h"

#include <unistd.h>

#include <algorithm>
#include <ostream>
#include <string>

namespace cabinaudio::test {
namespace {

class NewCapture : public EachCapture {
protected:
    void expectUnusable(AudioRecord& stream) {
        const std::size_t before = server.functions().size();
        EXPECT_EQ(stream.initCheck(), AUDIO_INVALID_STATE);
        EXPECT_EQ(stream.start(), AUDIO_INVALID_STATE);
        EXPECT_EQ(stream.stop(), AUDIO_INVALID_STATE);
        EXPECT_EQ(stream.clear(), AUDIO_INVALID_STATE);
        EXPECT_EQ(stream.read(data.data(), 4, true),
                  kind == Kind::RawMic ? AUDIO_BAD_VALUE : AUDIO_INVALID_STATE);
        EXPECT_EQ(stream.bytesUsed(), 0);
        EXPECT_EQ(stream.getPerLoopSize(), 0);
        EXPECT_EQ(stream.getTotalBufferSize(), 0);
        EXPECT_EQ(stream.getVolume(), kind == Kind::RawMic ? -1 : 0);
        EXPECT_EQ(stream.setVolume(3), kind == Kind::RawMic ? AUDIO_INVALID_STATE : 0);
        EXPECT_EQ(server.functions().size(), before);
        EXPECT_TRUE(logged(ERROR, "[rec]state is not IDLE, clear failed, mstate:0\n"));
    }
};

INSTANTIATE_TEST_SUITE_P(Stream, NewCapture, CAPTURES, captureName);

TEST_P(NewCapture, RegistersItsNameAndTheTypeOfItsTag) {
    make();
    const std::vector<Request> all = server.requests();
    ASSERT_FALSE(all.empty());
    EXPECT_TRUE(all[0].isRegistration());
    EXPECT_EQ(all[0].header.type, kind == Kind::RawMic ? 64U : 65U);
    EXPECT_STREQ(all[0].header.name, "rec");
}

TEST_P(NewCapture, RegistersTypeUnknownAndSendsTheTagUnchangedForAnUnknownTag) {
    const auto odd = RecordFixture::create(kind, "odd", static_cast<AudioTagType>(77));
    EXPECT_EQ(server.requests()[0].header.type, 255U);
    ASSERT_EQ(server.requests(CREATE).size(), 1U);
    EXPECT_EQ(server.requests(CREATE)[0].word(1), 77U);
}

TEST_P(NewCapture, SendsACreateRequestOfTheseBytes) {
    const auto created = RecordFixture::create(
        kind, "rec", AUDIO_TAG_INPUT2,
        {32, 8000, 7, AUDIO_CHANNEL_MAP_MONO_253, 2, static_cast<AudioBitDepthType>(1)}, -5);
    const std::vector<Request> sent = server.requests(CREATE);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].header.cmd, FLAGGED);
    EXPECT_EQ(sent[0].header.length, 40U);
    const std::uint32_t param = kind == Kind::RawMic ? 0xfffffffbU : 0;
    EXPECT_EQ(sent[0].payload, bytesOf({2, 67, 32, 8000, 7, 253, 2, 1, param,
                                        static_cast<std::uint32_t>(getpid())}));
}

TEST_P(NewCapture, CutsItsNameToSixtyThreeCharacters) {
    const auto created = RecordFixture::create(kind, std::string(100, 'n'));
    EXPECT_EQ(server.requests()[0].header.name, std::string(63, 'n'));
    (void)created->clear();
    EXPECT_TRUE(logged(DEBUG, "[" + std::string(63, 'n') + "] clear finish state: IDLE\n"));
}

TEST_P(NewCapture, IsUnusableWhenTheServerRefusesTheStream) {
    server.on(CREATE, Answer::words(-3000, 0, 4096, 1024, 16, 512, 0));
    const auto refused = create();
    EXPECT_TRUE(logged(ERROR, file(), "init",
                       "[rec] RPC data transfer failure, status:0  ret_status:-3000\n"));
    expectUnusable(*refused);
}

TEST_P(NewCapture, IsUnusableWithoutAServer) {
    server.stop();
    const auto lost = create();
    EXPECT_TRUE(logged(ERROR, file(), "init",
                       text("Fail to check RemoteCall.\n", "[rec] Fail to check RemoteCall.\n")));
    EXPECT_TRUE(loggedLike(INFO, ".* record init\\.\n", ABSENT));
    expectUnusable(*lost);
}

using NewRecord = RecordFixture;

TEST_F(NewRecord, HasStepAndRingOfTheReplyAndIsIdle) {
    makeRawMic(2000, 500);
    EXPECT_EQ(record->getPerLoopSize(), 500);
    EXPECT_EQ(record->getTotalBufferSize(), 2000);
    EXPECT_TRUE(loggedLike(DEBUG,
                           "\\[rec\\] ShareMemoryEx create ok: mShareMemorySize:2000 "
                           "\\[cast:[0-9]+ ms\\]\n"));
    EXPECT_EQ(record->clear(), AUDIO_NO_ERROR);
    const std::vector<std::string> names = ProcessState::now().shmNames;
    EXPECT_TRUE(std::any_of(names.begin(), names.end(), [](const std::string& name) {
        return name.ends_with("rec");
    })) << ::testing::PrintToString(names);
}

TEST_F(NewRecord, HasARingWhateverItsTag) {
    for (const AudioTagType tag : {AUDIO_TAG_INPUT0, AUDIO_TAG_INPUT1, AUDIO_TAG_INPUT2,
                                   AUDIO_TAG_INPUT_FRONT_FEEDBACK, AUDIO_TAG_UNKNOWN}) {
        server.on(CREATE, Answer::words(0, 0, 3000, 640, 16, 320, 0));
        serverRing.reset();
        serverRing = posixRing("rec", 3000);
        const auto created = create(Kind::RawMic, "rec", tag);
        EXPECT_EQ(created->getTotalBufferSize(), 3000) << tag;
    }
}

using NewUplink = RecordFixture;

TEST_F(NewUplink, HasStepAndPaceOfTheReplyAndNoRing) {
    makeUplink(640);
    EXPECT_EQ(record->getPerLoopSize(), 640);
    EXPECT_EQ(record->getTotalBufferSize(), 0);
    EXPECT_TRUE(logged(INFO, "ClientRecordRt", "init", "[rec] record init.\n"));
    EXPECT_TRUE(loggedLike(INFO,
                           "\\[rec\\] init done\\[cast:[0-9]+ ms\\] mPerLoopSamples = "
                           "320, mPerLoopBytes = 640, mPerLoopTime = 16 mBytesPerMSec = "
                           "40 mCacheSizeMax = 1280\n"));
    EXPECT_EQ(server.functions(), std::vector<std::uint32_t>{CREATE});
}

struct CodecRow {
    std::uint32_t codec;
    std::uint32_t rate;
    std::string samples;
    int bytes;
};

void PrintTo(const CodecRow& row, std::ostream* out) {
    *out << "codec " << row.codec << " at " << row.rate;
}

class UplinkCodec : public RecordFixture, public ::testing::WithParamInterface<CodecRow> {};

TEST_P(UplinkCodec, DecidesTheSizeOfAStepAndLeavesThePaceToTheServer) {
    const auto& [codec, rate, samples, bytes] = GetParam();
    AudioFormatDesc format = speech(codec);
    format.sampleRate = rate;
    makeUplink(512, format);
    EXPECT_EQ(record->getPerLoopSize(), bytes);
    EXPECT_TRUE(loggedLike(INFO, "\\[rec\\] init done\\[cast:[0-9]+ ms\\] mPerLoopSamples = " +
                                     samples + ", mPerLoopBytes = " + std::to_string(bytes) +
                                     ", mPerLoopTime = 16 mBytesPerMSec = 32 mCacheSizeMax = "
                                     "1024\n"));
}

INSTANTIATE_TEST_SUITE_P(
    OfEachKind, UplinkCodec,
    ::testing::Values(CodecRow{0, 16000, "256", 512}, CodecRow{16, 16000, "480", 512},
                      CodecRow{16, 44100, "480", 512}, CodecRow{32, 8000, "160", 320},
                      CodecRow{32, 16000, "320", 640}, CodecRow{32, 24000, "480", 960},
                      CodecRow{32, 48000, "960", 1920}, CodecRow{32, 44100, "880", 1760},
                      CodecRow{65, 16000, "120", 456}),
    [](const auto& row) {
        return "codec" + std::to_string(row.param.codec) + "at" + std::to_string(row.param.rate);
    });

class UplinkOfAnUnknownCodec : public RecordFixture,
                               public ::testing::WithParamInterface<std::uint32_t> {};

TEST_P(UplinkOfAnUnknownCodec, IsUsableWithTheServersSizes) {
    server.on(CREATE, Answer::words(0, 0, 0, 512, 16, 256, 0));
    record = create(Kind::Uplink, "rec", AUDIO_TAG_UPLINK, speech(GetParam()));
    EXPECT_TRUE(logged(ERROR, "[rec] unsupport CODEC type:" + std::to_string(GetParam()) + ".\n"));
    EXPECT_TRUE(loggedLike(INFO, ".*init done.*\n", ABSENT));
    EXPECT_EQ(record->getPerLoopSize(), 512);
    EXPECT_EQ(record->initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(record->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(read(16, true), 0) << "there is no silence of this kind";
    EXPECT_EQ(record->stop(), AUDIO_NO_ERROR);
}

INSTANTIATE_TEST_SUITE_P(OfMany, UplinkOfAnUnknownCodec,
                         ::testing::Values(1, 15, 17, 19, 33, 51, 64, 66, 0xffff));

/// With a diagnostics file of its own that asks for dumps of captured data.
class DumpedCapture : public EachCapture {
protected:
    [[nodiscard]] std::string dumped() const {
        return dumps.dumped(text("input0", "uplink"), "rec");
    }

    const DumpDirectory dumps{"input0", "uplink"};
};

INSTANTIATE_TEST_SUITE_P(Stream, DumpedCapture, CAPTURES, captureName);

TEST_P(DumpedCapture, FileHoldsTheBytesThatWereRead) {
    make();
    ASSERT_EQ(record->initCheck(), AUDIO_NO_ERROR);
    start();
    if (kind == Kind::Uplink) giveRing();
    ASSERT_TRUE(put(*serverRing, pattern(1000)));
    ASSERT_EQ(read(600, true), 600);
    ASSERT_EQ(read(400, true), 400);
    record.reset();
    const Bytes expected = pattern(1000);
    EXPECT_EQ(dumped(), std::string(expected.begin(), expected.end())) << log.dump();
}

TEST_P(DumpedCapture, BeginsAtTheInitCheck) {
    makeCapturing();
    ASSERT_TRUE(put(*serverRing, pattern(100)));
    ASSERT_EQ(read(100, true), 100);
    ASSERT_EQ(record->stop(), AUDIO_NO_ERROR);
    ASSERT_EQ(record->initCheck(), AUDIO_NO_ERROR);
    start();
    ASSERT_TRUE(put(*serverRing, pattern(50, 100)));
    ASSERT_EQ(read(50, true), 50);
    record.reset();
    const Bytes expected = pattern(50, 100);
    EXPECT_EQ(dumped(), std::string(expected.begin(), expected.end())) << log.dump();
}

using DumpedRecord = DumpedCapture;
INSTANTIATE_TEST_SUITE_P(Stream, DumpedRecord, ::testing::Values(Kind::RawMic), captureName);

TEST_P(DumpedRecord, FileHoldsTheBytesOfAReadThatTookThemInTwoPieces) {
    make();
    ASSERT_EQ(record->initCheck(), AUDIO_NO_ERROR);
    start();
    const Bytes sent = pattern(600);
    ASSERT_TRUE(put(*serverRing, pattern(300)));
    std::future<int> reader = blockedRead(600);
    ASSERT_TRUE(put(*serverRing, pattern(300, 300)));
    ASSERT_EQ(reader.get(), 600);
    EXPECT_EQ(heard(600), sent);
    record.reset();
    EXPECT_EQ(dumped(), std::string(sent.begin(), sent.end())) << log.dump();
}

using DumpedUplink = DumpedCapture;
INSTANTIATE_TEST_SUITE_P(Stream, DumpedUplink, ::testing::Values(Kind::Uplink), captureName);

TEST_P(DumpedUplink, IsDumpedByTheUplinksTagInTheLengthThatWasDue) {
    server.on(CREATE, Answer::words(0, 0, 0, 512, 16, 256, 0));
    record = RecordFixture::create(kind, "rec", AUDIO_TAG_INPUT1, speech(32));
    ASSERT_EQ(record->initCheck(), AUDIO_NO_ERROR);
    start();
    std::fill_n(data.begin(), 100, static_cast<unsigned char>('x'));
    ASSERT_EQ(read(64, true), 11) << "one packet of silence";
    record.reset();
    // The dump gets as many bytes as were due, that is the packet and the bytes behind it.
    EXPECT_EQ(dumped(), std::string("\0\0\0\3\1\2\3\4\xB8\xFF\xFE", 11) + std::string(53, 'x'))
        << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
