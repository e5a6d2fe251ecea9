// SPDX-License-Identifier: Apache-2.0
#include "tests/client/RecordFixture.h"
#include "tests/support/ConfigDirectory.h"
#include "tests/support/ProcessState.h"

#include <unistd.h>

#include <algorithm>
#include <string>

namespace cabinaudio::test {
namespace {

class ACaptureUnderConstruction : public ACapture {
protected:
    /// A stream of this name and tag, whatever comes of it.
    [[nodiscard]] std::unique_ptr<AudioRecord> create(const char* name, AudioTagType tag,
                                                      AudioFormatDesc format) {
        if (kind == Kind::RAW_MIC) return std::make_unique<ClientRecord>(name, tag, format, -5);
        return std::make_unique<ClientRecordRt>(name, tag, format);
    }

    void expectUnusable(AudioRecord& stream, const std::string& name) {
        const std::size_t before = server.functions().size();
        EXPECT_EQ(stream.initCheck(), AUDIO_INVALID_STATE);
        EXPECT_EQ(stream.start(), AUDIO_INVALID_STATE);
        EXPECT_EQ(stream.stop(), AUDIO_INVALID_STATE);
        EXPECT_EQ(stream.clear(), AUDIO_INVALID_STATE);
        EXPECT_EQ(stream.read(data.data(), 4, true),
                  kind == Kind::RAW_MIC ? AUDIO_BAD_VALUE : AUDIO_INVALID_STATE);
        EXPECT_EQ(stream.bytesUsed(), 0);
        EXPECT_EQ(stream.getPerLoopSize(), 0);
        EXPECT_EQ(stream.getTotalBufferSize(), 0);
        EXPECT_EQ(stream.getVolume(), kind == Kind::RAW_MIC ? -1 : 0);
        EXPECT_EQ(stream.setVolume(3), kind == Kind::RAW_MIC ? AUDIO_INVALID_STATE : 0);
        EXPECT_EQ(server.functions().size(), before);
        EXPECT_EQ(log.count(ERROR, "[" + name + "]state is not IDLE, clear failed, mstate:0\n"), 1U)
            << log.dump();
    }
};

INSTANTIATE_TEST_SUITE_P(ForBoth, ACaptureUnderConstruction,
                         ::testing::Values(Kind::RAW_MIC, Kind::UPLINK), nameOf);

TEST_P(ACaptureUnderConstruction, RegistersWithItsNameAndTheTypeOfItsTag) {
    make();
    const std::vector<Request> all = server.requests();
    ASSERT_FALSE(all.empty());
    EXPECT_TRUE(all[0].isRegistration());
    EXPECT_EQ(all[0].header.type, kind == Kind::RAW_MIC ? 64U : 65U);
    EXPECT_STREQ(all[0].header.name, "rec");
}

TEST_P(ACaptureUnderConstruction, RegistersAnUnknownTagAsUnknownAndSendsTheTagAsItIs) {
    const auto odd = create("odd", static_cast<AudioTagType>(77), speech());
    EXPECT_EQ(server.requests()[0].header.type, 255U);
    ASSERT_EQ(server.requests(CREATE).size(), 1U);
    EXPECT_EQ(server.requests(CREATE)[0].word(1), 77U);
}

TEST_P(ACaptureUnderConstruction, SendsTheCreateRequestToTheByte) {
    const auto created =
        create("rec", AUDIO_TAG_INPUT2,
               {32, 8000, 7, AUDIO_CHANNEL_MAP_MONO_253, 2, static_cast<AudioBitDepthType>(1)});
    const std::vector<Request> create = server.requests(CREATE);
    ASSERT_EQ(create.size(), 1U);
    EXPECT_EQ(create[0].header.cmd, FLAGGED);
    EXPECT_EQ(create[0].header.length, 40U);
    const std::uint32_t param = kind == Kind::RAW_MIC ? 0xfffffffbU : 0;
    EXPECT_EQ(create[0].payload, bytesOf({2, 67, 32, 8000, 7, 253, 2, 1, param,
                                          static_cast<std::uint32_t>(getpid())}));
}

TEST_P(ACaptureUnderConstruction, CutsItsNameToSixtyThreeCharacters) {
    const auto created = create(std::string(100, 'n').c_str(), AUDIO_TAG_INPUT0, speech());
    EXPECT_EQ(server.requests()[0].header.name, std::string(63, 'n'));
    (void)created->clear();
    EXPECT_EQ(log.count(DEBUG, "[" + std::string(63, 'n') + "] clear finish state: IDLE\n"), 1U)
        << log.dump();
}

TEST_P(ACaptureUnderConstruction, StaysUnusableWhenTheServerRefusesTheStream) {
    server.on(CREATE, Answer::words(-3000, 0, 4096, 1024, 16, 512, 0));
    const auto refused = create("rec", AUDIO_TAG_INPUT0, speech());
    EXPECT_EQ(log.count(ERROR, file(), "init",
                        "[rec] RPC data transfer failure, status:0  ret_status:-3000\n"),
              1U)
        << log.dump();
    expectUnusable(*refused, "rec");
}

TEST_P(ACaptureUnderConstruction, SaysSoWhenThereIsNoServer) {
    server.stop();
    const auto lost = create("rec", AUDIO_TAG_INPUT0, speech());
    EXPECT_EQ(log.count(ERROR, file(), "init",
                        text("Fail to check RemoteCall.\n", "[rec] Fail to check RemoteCall.\n")),
              1U)
        << log.dump();
    EXPECT_EQ(log.countMatching(INFO, ".* record init\\.\n"), 0U);
    expectUnusable(*lost, "rec");
}

class ARecordUnderConstruction : public ACaptureStream {};

TEST_F(ARecordUnderConstruction, TakesOverStepAndRingFromTheReplyAndBecomesIdle) {
    makeRawMic(2000, 500);
    EXPECT_EQ(record->getPerLoopSize(), 500);
    EXPECT_EQ(record->getTotalBufferSize(), 2000);
    EXPECT_EQ(log.countMatching(DEBUG,
                                "\\[rec\\] ShareMemoryEx create ok: mShareMemorySize:2000 "
                                "\\[cast:[0-9]+ ms\\]\n"),
              1U)
        << log.dump();
    EXPECT_EQ(record->clear(), AUDIO_NO_ERROR);
    const std::vector<std::string> names = ProcessState::now().shmNames;
    EXPECT_TRUE(std::any_of(names.begin(), names.end(), [](const std::string& name) {
        return name.ends_with("rec");
    })) << ::testing::PrintToString(names);
}

TEST_F(ARecordUnderConstruction, GetsARingWhateverItsTag) {
    for (const AudioTagType tag : {AUDIO_TAG_INPUT0, AUDIO_TAG_INPUT1, AUDIO_TAG_INPUT2,
                                   AUDIO_TAG_INPUT_FRONT_FEEDBACK, AUDIO_TAG_UNKNOWN}) {
        server.on(CREATE, Answer::words(0, 0, 3000, 640, 16, 320, 0));
        serverRing.reset();
        serverRing = posixRing("rec", 3000);
        AudioFormatDesc format = speech();
        ClientRecord created("rec", tag, format, 0);
        EXPECT_EQ(created.getTotalBufferSize(), 3000) << tag;
    }
}

class AnUplinkUnderConstruction : public ACaptureStream {};

TEST_F(AnUplinkUnderConstruction, TakesOverStepAndPaceAndHasNoRing) {
    makeUplink(640);
    EXPECT_EQ(record->getPerLoopSize(), 640);
    EXPECT_EQ(record->getTotalBufferSize(), 0);
    EXPECT_EQ(log.count(INFO, "ClientRecordRt", "init", "[rec] record init.\n"), 1U) << log.dump();
    EXPECT_EQ(log.countMatching(INFO,
                                "\\[rec\\] init done\\[cast:[0-9]+ ms\\] mPerLoopSamples = "
                                "320, mPerLoopBytes = 640, mPerLoopTime = 16 mBytesPerMSec = "
                                "40 mCacheSizeMax = 1280\n"),
              1U)
        << log.dump();
    EXPECT_EQ(server.functions(), std::vector<std::uint32_t>{CREATE});
}

struct CodecRow {
    std::uint32_t codec;
    std::uint32_t rate;
    std::string samples;
    int bytes;
};

class AnUplinksCodec : public ACaptureStream, public ::testing::WithParamInterface<CodecRow> {};

TEST_P(AnUplinksCodec, DecidesOnTheSizeOfAStepAndLeavesThePaceToTheServer) {
    const auto& [codec, rate, samples, bytes] = GetParam();
    AudioFormatDesc format = speech(codec);
    format.sampleRate = rate;
    makeUplink(512, format);
    EXPECT_EQ(record->getPerLoopSize(), bytes);
    EXPECT_EQ(log.countMatching(INFO, "\\[rec\\] init done\\[cast:[0-9]+ ms\\] mPerLoopSamples = " +
                                          samples + ", mPerLoopBytes = " + std::to_string(bytes) +
                                          ", mPerLoopTime = 16 mBytesPerMSec = 32 mCacheSizeMax = "
                                          "1024\n"),
              1U)
        << log.dump();
}

INSTANTIATE_TEST_SUITE_P(
    OfEachKind, AnUplinksCodec,
    ::testing::Values(CodecRow{0, 16000, "256", 512}, CodecRow{16, 16000, "480", 512},
                      CodecRow{16, 44100, "480", 512}, CodecRow{32, 8000, "160", 320},
                      CodecRow{32, 16000, "320", 640}, CodecRow{32, 24000, "480", 960},
                      CodecRow{32, 48000, "960", 1920}, CodecRow{32, 44100, "880", 1760},
                      CodecRow{65, 16000, "120", 456}),
    [](const auto& row) {
        return "codec" + std::to_string(row.param.codec) + "at" + std::to_string(row.param.rate);
    });

class AnUplinkOfAnUnknownCodec : public ACaptureStream,
                                 public ::testing::WithParamInterface<std::uint32_t> {};

TEST_P(AnUplinkOfAnUnknownCodec, IsUsableWithTheServersSizes) {
    server.on(CREATE, Answer::words(0, 0, 0, 512, 16, 256, 0));
    AudioFormatDesc format = speech(GetParam());
    ClientRecordRt odd("rec", AUDIO_TAG_UPLINK, format);
    EXPECT_EQ(log.count(ERROR, "[rec] unsupport CODEC type:" + std::to_string(GetParam()) + ".\n"),
              1U)
        << log.dump();
    EXPECT_EQ(log.countMatching(INFO, ".*init done.*\n"), 0U);
    EXPECT_EQ(odd.getPerLoopSize(), 512);
    EXPECT_EQ(odd.initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(odd.start(), AUDIO_NO_ERROR);
    EXPECT_EQ(odd.read(data.data(), 16, true), 0) << "there is no silence of this kind";
    EXPECT_EQ(odd.stop(), AUDIO_NO_ERROR);
}

INSTANTIATE_TEST_SUITE_P(OfMany, AnUplinkOfAnUnknownCodec,
                         ::testing::Values(1, 15, 17, 19, 33, 51, 64, 66, 0xffff));

/// With a diagnostics file of its own that asks for dumps of what clients capture.
class ADumpedCapture : public ACapture {
protected:
    ADumpedCapture() {
        settings.write("Dump\n tag=input0\n usage=client\n outPath=" + dumps("input0").string() +
                       "\nDump\n tag=uplink\n usage=client\n outPath=" + dumps("uplink").string() +
                       "\n");
    }

    [[nodiscard]] std::filesystem::path dumps(const std::string& tag) const {
        return settings.top() / tag;
    }

    /// All dumps of the record, one behind the other.
    [[nodiscard]] std::string dumped() const {
        const std::string tag = text("input0", "uplink");
        std::string bytes;
        if (!std::filesystem::exists(dumps(tag))) return bytes;
        for (const auto& entry : std::filesystem::directory_iterator(dumps(tag))) {
            EXPECT_EQ(entry.path().filename().string().rfind(tag + "_rec_client_", 0), 0U);
            bytes += contentsOf(entry.path());
        }
        return bytes;
    }

    ConfigDirectory settings;
};

INSTANTIATE_TEST_SUITE_P(ForBoth, ADumpedCapture, ::testing::Values(Kind::RAW_MIC, Kind::UPLINK),
                         nameOf);

TEST_P(ADumpedCapture, LeavesTheBytesThatWereReadInAFile) {
    make();
    ASSERT_EQ(record->initCheck(), AUDIO_NO_ERROR);
    start();
    if (kind == Kind::UPLINK) giveRing();
    ASSERT_TRUE(put(*serverRing, pattern(1000)));
    ASSERT_EQ(read(600, true), 600);
    ASSERT_EQ(read(400, true), 400);
    record.reset();
    const Bytes expected = pattern(1000);
    EXPECT_EQ(dumped(), std::string(expected.begin(), expected.end())) << log.dump();
}

TEST_P(ADumpedCapture, IsDumpedFromItsInitCheckOnOnly) {
    make();
    start();
    if (kind == Kind::UPLINK) giveRing();
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

class ADumpedUplink : public ADumpedCapture {};
INSTANTIATE_TEST_SUITE_P(ForIt, ADumpedUplink, ::testing::Values(Kind::UPLINK), nameOf);

TEST_P(ADumpedUplink, IsDumpedAsAnUplinkWhateverItsTagAndInTheLengthThatWasDue) {
    server.on(CREATE, Answer::words(0, 0, 0, 512, 16, 256, 0));
    AudioFormatDesc format = speech(32);
    record = std::make_unique<ClientRecordRt>("rec", AUDIO_TAG_INPUT1, format);
    ASSERT_EQ(record->initCheck(), AUDIO_NO_ERROR);
    start();
    std::fill_n(data.begin(), 100, static_cast<unsigned char>('x'));
    ASSERT_EQ(read(64, true), 11) << "one packet of silence";
    record.reset();
    // The dump gets as many bytes as were due, that is the packet and what lay behind it.
    EXPECT_EQ(dumped(), std::string("\0\0\0\3\1\2\3\4\xB8\xFF\xFE", 11) + std::string(53, 'x'))
        << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
