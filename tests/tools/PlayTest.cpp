// SPDX-License-Identifier: Apache-2.0
// Samples that reach the server when a file is played.
#include "tests/support/Row.h"
#include "tests/tools/ToolTest.h"

namespace cabinaudio::test {

namespace {

/// A server that keeps what it plays and what each stream has delivered.
class Playing : public ToolTest {
protected:
    /// As fast as the tool writes: nothing can be late, so nothing can be torn.
    void serveFast() { serve({"--fast"}); }

    void serve(const Words& more) {
        mServer = std::make_unique<RealServer>(
            with({"--output", "wav:" + mHeard, "--stems", mDirectory.path()}, more));
    }

    void endServer() { mServer.reset(); }

    [[nodiscard]] Sound stem(const std::string& tag, const std::string& name) const {
        return readSound(mDirectory.file(tag + "-" + name + ".wav"));
    }

    std::string mHeard = mDirectory.file("heard.wav");
    std::string mFile = mDirectory.file("sound");
};

/// A file, and what kind of stem it becomes.
struct Kind : Row {
    SoundShape shape;
    int stemFormat;
};

}  // namespace

TEST_F(Playing, ReachesTheOutputSampleForSample) {
    writeSound(mFile, {.frames = 48000});
    serveFast();
    const Outcome result = runExpecting(0, {"play", mFile});
    EXPECT_THAT(result.out, StartsWith(mFile + ": played to the end, 0:01.0 on alternative"));
    EXPECT_THAT(result.err, IsEmpty());
    endServer();
    EXPECT_TRUE(withoutSilence(readSound(mHeard).samples) == readSound(mFile).samples);
}

TEST_F(Playing, OnAuxiliaryReachesTheOutputSampleForSample) {
    writeSound(mFile, {.frames = 48000});
    serveFast();
    const Outcome result = runExpecting(0, {"play", mFile, "--tag", "auxiliary", "--json"});
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_EQ(json::parse(result.out)["ended"], "played");
    EXPECT_TRUE(json::parse(result.out)["finished_after_ms"].is_number());
    endServer();
    EXPECT_TRUE(withoutSilence(readSound(mHeard).samples) == readSound(mFile).samples);
}

class PlayingAnyKind : public Playing, public testing::WithParamInterface<Kind> {};

TEST_P(PlayingAnyKind, LosesNothing) {
    writeSound(mFile, GetParam().shape);
    serveFast();
    const Outcome result = runExpecting(0, {"play", mFile, "--name", "any"});
    EXPECT_THAT(result.err, IsEmpty());
    endServer();
    const Sound heard = stem("alternative", "any");
    const Sound file = readSound(mFile);
    EXPECT_EQ(heard.info.format & SF_FORMAT_SUBMASK, GetParam().stemFormat);
    EXPECT_EQ(heard.info.channels, file.info.channels);
    EXPECT_EQ(heard.info.samplerate, file.info.samplerate);
    EXPECT_TRUE(heard.samples == file.samples);
}

INSTANTIATE_TEST_SUITE_P(
    Kind, PlayingAnyKind,
    testing::Values(
        Kind{"Wav8", {SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 8000, 1, 4001}, SF_FORMAT_PCM_U8},
        Kind{"Aiff8", {SF_FORMAT_AIFF | SF_FORMAT_PCM_S8, 22050, 2, 4001}, SF_FORMAT_PCM_U8},
        Kind{"Wav16", {SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, 20011}, SF_FORMAT_PCM_16},
        Kind{"Wav16Mono", {SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16000, 1, 7}, SF_FORMAT_PCM_16},
        Kind{"Wav16Six", {SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 6, 9973}, SF_FORMAT_PCM_16},
        Kind{"Wav24Three", {SF_FORMAT_WAV | SF_FORMAT_PCM_24, 48000, 3, 9973}, SF_FORMAT_PCM_24},
        Kind{"Wav32", {SF_FORMAT_WAV | SF_FORMAT_PCM_32, 192000, 2, 40013}, SF_FORMAT_PCM_32},
        Kind{"WavFloat", {SF_FORMAT_WAV | SF_FORMAT_FLOAT, 48000, 2, 9973}, SF_FORMAT_PCM_32},
        Kind{"Flac16", {SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 48000, 2, 20011}, SF_FORMAT_PCM_16},
        Kind{"Flac24", {SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 96000, 2, 20011}, SF_FORMAT_PCM_24}),
    ROW_NAME);

TEST_F(Playing, DecodesOggTo16Bits) {
    writeSound(mFile, {SF_FORMAT_OGG | SF_FORMAT_VORBIS, 44100, 2, 22050});
    serveFast();
    runExpecting(0, {"play", mFile, "--name", "ogg"});
    endServer();
    const Sound heard = stem("alternative", "ogg");
    EXPECT_EQ(heard.info.format & SF_FORMAT_SUBMASK, SF_FORMAT_PCM_16);
    EXPECT_TRUE(heard.samples == decodedTo16Bits(mFile));
}

TEST_F(Playing, ReadsStandardInput) {
    writeSound(mFile, {.frames = 9600});
    serveFast();
    const Outcome result = runExpecting(0, {"play", "-", "--name", "stdin"}, {.input = mFile});
    EXPECT_THAT(result.out, StartsWith("standard input: played to the end"));
    endServer();
    EXPECT_TRUE(stem("alternative", "stdin").samples == readSound(mFile).samples);
}

TEST_F(Playing, PlaysFilesInTheOrderOfTheList) {
    const std::string second = mDirectory.file("second");
    writeSound(mFile, {.frames = 4800});
    writeSound(second, {SF_FORMAT_WAV | SF_FORMAT_PCM_24, 44100, 1, 4410});
    serveFast();
    const Outcome result = runExpecting(0, {"play", mFile, second, "--name", "list", "--json"});
    const std::size_t lineEnd = result.out.find('\n');
    EXPECT_EQ(json::parse(result.out.substr(0, lineEnd))["file"], mFile);
    EXPECT_EQ(json::parse(result.out.substr(lineEnd))["file"], second);
    endServer();
    EXPECT_TRUE(stem("alternative", "list").samples == readSound(mFile).samples);
    EXPECT_TRUE(stem("alternative", "list-2").samples == readSound(second).samples);
}

/// In real time the ring is full most of the time; a small one is never anything else.
class PlayingInRealTime : public Playing, public testing::WithParamInterface<const char*> {};

TEST_P(PlayingInRealTime, NeitherLosesNorDoublesASample) {
    writeSound(mFile, {.frames = 48000});
    serve({"--ring-periods", "4"});
    const Outcome result =
        runExpecting(0, {"play", mFile, "--json", "--name", "paced", GetParam()});
    EXPECT_THAT(result.err, IsEmpty());
    endServer();
    EXPECT_TRUE(stem("alternative", "paced").samples == readSound(mFile).samples);
    const json report = json::parse(result.out);
    EXPECT_EQ(report["block"], GetParam() == std::string("--block"));
    EXPECT_EQ(report["bytes_written"], 48000 * 4);
    // The last period may still be on its way to the loudspeaker.
    EXPECT_GE(report["elapsed_ms"].get<double>(), 900.0);
}

INSTANTIATE_TEST_SUITE_P(Both, PlayingInRealTime, testing::Values("--block", "--no-block"),
                         [](const auto& test) { return wordsOf(test.param); });

TEST_F(Playing, ReportsTypedFiguresWithTheirUnits) {
    writeSound(mFile, {SF_FORMAT_WAV | SF_FORMAT_PCM_24, 48000, 2, 24000});
    serveFast();
    const json report = jsonOf(runExpecting(
        0, {"play", mFile, "--json", "--tag", "output_uplink_invocation", "--name", "typed"}));
    EXPECT_EQ(report["file"], mFile);
    EXPECT_EQ(report["name"], "typed");
    EXPECT_EQ(report["tag"], "output_input0_invocation");  // the first of that tag's two names
    EXPECT_EQ(report["tag_number"], 3);
    EXPECT_EQ(report["block"], true);
    EXPECT_EQ(report["sample_rate_hz"], 48000);
    EXPECT_EQ(report["channels"], 2);
    EXPECT_EQ(report["bits_per_sample"], 24);
    EXPECT_EQ(report["duration_ms"], 500.0);
    EXPECT_EQ(report["played_ms"], 500.0);
    EXPECT_EQ(report["queued_ms"], 0.0);
    EXPECT_EQ(report["bytes_written"], 144000);
    EXPECT_EQ(report["per_loop_bytes"], 4608);
    EXPECT_EQ(report["ring_bytes"], 8 * 4608);
    EXPECT_EQ(report["ended"], "played");
    EXPECT_EQ(report["status"], 0);
    EXPECT_EQ(report["status_name"], "AUDIO_NO_ERROR");
    EXPECT_TRUE(report["waited_for"].is_null());
    for (const char* count : {"ring_timeouts", "space_timeouts", "short_writes", "ring_ran_empty"})
        EXPECT_TRUE(report[count].is_number_unsigned()) << count;
    for (const char* time : {"elapsed_ms", "finished_after_ms"})
        EXPECT_TRUE(report[time].is_number()) << time;
}

TEST_F(Playing, SendsTheKeyShiftBeforeAnyData) {
    writeSound(mFile, {.frames = 480});
    // The ring comes late, so that a key shift that does not wait for it would be in its way.
    serve({"--fast", "--trace", "--ring-delay", "200"});
    runExpecting(0, {"play", mFile, "--tag", "auxiliary", "--key-shift", "1.1"});
    const std::string trace = mServer->output();
    const std::size_t shift = trace.find("setKeyShift");
    ASSERT_NE(shift, std::string::npos) << trace;
    EXPECT_LT(trace.find("getShareMemory"), shift) << trace;
    EXPECT_NE(trace.find("1.1", shift), std::string::npos) << trace;
    EXPECT_NE(trace.find("writeDone", shift), std::string::npos) << trace;
}

TEST_F(Playing, WaitsForARingThatComesLate) {
    writeSound(mFile, {.frames = 4800});
    serve({"--fast", "--ring-delay", "1500"});
    const Outcome result =
        runExpecting(0, {"play", mFile, "--tag", "auxiliary", "--name", "late", "--json"});
    EXPECT_GE(json::parse(result.out)["ring_timeouts"], 1);
    endServer();
    EXPECT_TRUE(stem("auxiliary", "late").samples == readSound(mFile).samples);
}

TEST_F(Playing, GivesEachStreamANameOfItsOwn) {
    writeSound(mFile, {.frames = 24000});
    serve({});
    ToolProcess first({"play", mFile, "--json"});
    ToolProcess second({"play", mFile, "--json"});
    const json one = jsonOf(first.finishExpecting(0));
    const json two = jsonOf(second.finishExpecting(0));
    EXPECT_NE(one["name"], two["name"]);
}

}  // namespace cabinaudio::test
