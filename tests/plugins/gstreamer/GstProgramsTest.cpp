// SPDX-License-Identifier: Apache-2.0
// Real programs that play through cabinaudiosink.
#include "tests/plugins/gstreamer/GstPrograms.h"
#include "tests/support/Row.h"

#include <gmock/gmock.h>

#include <sstream>

namespace cabinaudio::test {

namespace {

using testing::HasSubstr;

}  // namespace

TEST_F(GstPrograms, InspectShowsTheSinkWithItsProperties) {
    const Outcome outcome = run({"gst-inspect-1.0", "cabinaudiosink"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    for (const char* const property : {"tag  ", "stream-param  ", "stream-name  ", "instance  ",
                                       "wait  ", "volume  ", "mute  ", "output_input0_invocation"})
        EXPECT_THAT(outcome.out, HasSubstr(property));
    EXPECT_THAT(outcome.out, HasSubstr("marginal (64)"));
    EXPECT_EQ(outcome.err, "");
}

TEST_F(GstPrograms, LaunchPlaysAFileExactly) {
    const Outcome outcome = launch(playing(sound()));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_EQ(outcome.err, "");
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(mServer.heard("sink", wide(sound())));
}

struct FileRow : Row {
    const char* encoder;
    bool isExact;
};

class GstPlaybinOf : public GstPrograms, public testing::WithParamInterface<FileRow> {};

TEST_P(GstPlaybinOf, PlaysTheWholeFile) {
    const auto samples = sine16(440, 44100, 22050);
    const std::string played = mDirectory.file("coded");
    const std::string reference = mDirectory.file("reference.wav");
    const Outcome coding = launch(file(repeated(samples, 2), 44100) + "! audioconvert ! " +
                                  GetParam().encoder + " ! filesink location=" + played);
    ASSERT_EQ(coding.exitCode, 0) << coding.text();
    const Outcome decoding =
        launch("filesrc location=" + played +
               " ! decodebin ! audioconvert ! audio/x-raw,format=S32LE ! wavenc ! filesink "
               "location=" +
               reference);
    ASSERT_EQ(decoding.exitCode, 0) << decoding.text();
    const Outcome playing = launch("playbin uri=file://" + played + " audio-sink=cabinaudiosink");
    ASSERT_EQ(playing.exitCode, 0) << playing.text();
    ASSERT_TRUE(mServer.stop());
    const Wav heard = onlyStream();
    const Wav expected = readWav(reference);
    EXPECT_EQ(heard.rate, 44100U);
    ASSERT_GT(expected.frames(), 22000U);
    EXPECT_EQ(heard.frames(), expected.frames());
    if (GetParam().isExact) {
        EXPECT_EQ(heard.samples, wide(repeated(samples, 2)));
    }
    EXPECT_EQ(heard.samples, expected.samples);
}

INSTANTIATE_TEST_SUITE_P(Coding, GstPlaybinOf,
                         testing::Values(FileRow{"Wav", "wavenc", true},
                                         FileRow{"Flac", "flacenc", true},
                                         FileRow{"Vorbis", "vorbisenc ! oggmux", false},
                                         FileRow{"Mp3", "lamemp3enc", false}),
                         ROW_NAME);

TEST_F(GstPrograms, AutoaudiosinkTakesTheSinkByItsRank) {
    const std::string pipeline = file(sound()) + "! autoaudiosink";
    const Outcome outcome = launch(pipeline, {{"GST_PLUGIN_FEATURE_RANK", "cabinaudiosink:MAX"}});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.text();
    ASSERT_TRUE(mServer.stop());
    EXPECT_EQ(onlyStream().samples, wide(sound()));
}

TEST_F(GstPrograms, LaunchWithoutAServerSaysSo) {
    mServer.server().stop();
    const Outcome outcome = launch("audiotestsrc ! cabinaudiosink");
    EXPECT_NE(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, HasSubstr("No audio server answers."));
}

TEST_F(GstPrograms, DebugCategoryTellsOfTheStream) {
    const Outcome outcome =
        launch(playing(sound(480)), {{"GST_DEBUG", "cabinaudio:5"}, {"GST_DEBUG_NO_COLOR", "1"}});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_THAT(outcome.err, HasSubstr("<sink> the audio server answers"));
    EXPECT_THAT(outcome.err, HasSubstr("<sink> stream sink, tag auxiliary, 48000 Hz"));
    EXPECT_THAT(outcome.err, HasSubstr("<sink> the end has been played"));
}

/// The tracer logs which messages there can be, and then each object that is left at the end.
TEST_F(GstPrograms, TracerOfLeaksFindsNone) {
    const Outcome outcome = launch(
        playing(sound(480), "volume=0.5"),
        {{"GST_TRACERS", "leaks"}, {"GST_DEBUG", "GST_TRACER:7"}, {"GST_DEBUG_NO_COLOR", "1"}});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_THAT(outcome.err, HasSubstr("object-alive")) << "the tracer is active";
    std::istringstream lines(outcome.err);
    for (std::string line; std::getline(lines, line);)
        if (line.find("object-alive") != std::string::npos) {
            EXPECT_TRUE(line.find("object-alive.class") != std::string::npos ||
                        line.find("new format string") != std::string::npos)
                << line;
        }
}

}  // namespace cabinaudio::test
