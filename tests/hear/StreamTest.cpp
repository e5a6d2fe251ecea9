// SPDX-License-Identifier: Apache-2.0
// When streams are heard, and whether the mix is their sum.
#include "tests/hear/Synth.h"
#include "tests/support/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cabinaudio::test {

namespace {

using testing::HasSubstr;

/// Music from 0 to 2 s, a prompt from 1 to 1.5 s, a chime from 2.5 s on.
Recording threeStreams() {
    Recording recording = recordingOf(soundOf(std::vector<float>(3 * RATE), 2));
    addStream(recording, "music", noise(2 * RATE, 0.25F, 1), 0);
    addStream(recording, "prompt", noise(RATE / 2, 0.25F, 2), RATE);
    addStream(recording, "chime", noise(RATE / 4, 0.25F, 3), 2 * RATE + RATE / 2);
    return recording;
}

TEST(StartsCheck, ComparesFrames) {
    Recording recording = threeStreams();
    EXPECT_TRUE(isMet(recording, "starts prompt@1000"));
    EXPECT_TRUE(isMet(recording, "starts prompt@1s"));
    EXPECT_TRUE(isMet(recording, "starts music@0"));
    EXPECT_FALSE(isMet(recording, "starts prompt@1000.05"));
    EXPECT_TRUE(isMet(recording, "starts prompt@1000.05 tol=0.1"));
    EXPECT_FALSE(isMet(recording, "starts prompt@999"));
    EXPECT_TRUE(isMet(recording, "starts prompt@999 +-1ms"));
    EXPECT_EQ(verdictOf(recording, "starts prompt@999").at, 1.0);
    EXPECT_FALSE(isMet(recording, "starts prompt@1000 [1.1..2]"));
}

TEST(StartsCheck, NamesTheStreamsThatThereAre) {
    EXPECT_THAT(errorOf(threeStreams(), "starts radio@0"),
                HasSubstr("the report has no stream \"radio\"; it has music, prompt, chime"));
}

TEST(StartsCheck, StreamThatWasNeverHeardDoesNotStart) {
    Recording recording = threeStreams();
    recording.report.streams[1].segments.clear();
    EXPECT_FALSE(isMet(recording, "starts prompt@1000"));
    EXPECT_FALSE(isMet(recording, "order music prompt"));
    EXPECT_FALSE(isMet(recording, "overlap music prompt"));
    EXPECT_FALSE(isMet(recording, "apart music prompt"));
    EXPECT_FALSE(isMet(recording, "ducked music by -20dB during prompt"));
}

TEST(StartsCheck, FindsTheStemWithoutAReport) {
    Recording recording = threeStreams();
    recording.report = {};
    EXPECT_TRUE(isMet(recording, "starts prompt@1000"));
    EXPECT_FALSE(isMet(recording, "starts prompt@1002"));
    EXPECT_TRUE(isMet(recording, "order music prompt chime"));
    EXPECT_FALSE(isMet(recording, "order prompt music"));
    recording.stems["prompt"] = soundOf(noise(RATE, 0.5F, 9));
    EXPECT_FALSE(isMet(recording, "starts prompt@1000"));
    recording.stems.clear();
    EXPECT_THAT(errorOf(recording, "order music prompt"),
                HasSubstr("neither a report nor its stem"));
}

TEST(StartsCheck, TakesTheOnsetWithoutReportAndStem) {
    std::vector<float> samples(RATE);
    const std::vector<float> begun = tone(440, -12, RATE / 2);
    std::copy(begun.begin(), begun.end(), samples.begin() + RATE / 4);
    EXPECT_TRUE(isMet(recordingOf(samples), "starts prompt@250"));
    EXPECT_FALSE(isMet(recordingOf(samples), "starts prompt@252"));
    EXPECT_TRUE(isMet(recordingOf(samples), "starts prompt@252 tol=3"));
    EXPECT_FALSE(isMet(recordingOf(std::vector<float>(RATE)), "starts prompt@0"));
}

TEST(OrderCheck, ComparesTheStarts) {
    const Recording recording = threeStreams();
    EXPECT_TRUE(isMet(recording, "order music prompt chime"));
    EXPECT_TRUE(isMet(recording, "order music chime"));
    const Verdict verdict = verdictOf(recording, "order music chime prompt");
    EXPECT_FALSE(verdict.isMet);
    EXPECT_EQ(verdict.at, 1.0);
    EXPECT_FALSE(isMet(recording, "order music music"));
}

TEST(OverlapCheck, NeedsATimeInCommon) {
    const Recording recording = threeStreams();
    EXPECT_THAT(verdictOf(recording, "overlap music prompt").measured,
                HasSubstr("together for 0.500 s, from 1.000 s on"));
    EXPECT_TRUE(isMet(recording, "overlap prompt music"));
    EXPECT_FALSE(isMet(recording, "overlap music chime"));
    EXPECT_FALSE(isMet(recording, "overlap music prompt chime"));
    EXPECT_FALSE(isMet(recording, "overlap music prompt [0..1]"));
    EXPECT_TRUE(isMet(recording, "apart prompt chime"));
    EXPECT_FALSE(isMet(recording, "apart chime prompt music"));
    EXPECT_EQ(verdictOf(recording, "apart chime prompt music").at, 1.0);
}

TEST(LastsCheck, IsTheLengthOfTheSoundOrOfAStream) {
    const Recording recording = threeStreams();
    EXPECT_TRUE(isMet(recording, "lasts 3"));
    EXPECT_TRUE(isMet(recording, "lasts 3.016s"));
    EXPECT_FALSE(isMet(recording, "lasts 3.017"));
    EXPECT_TRUE(isMet(recording, "lasts 3.5 tol=500ms"));
    EXPECT_TRUE(isMet(recording, "lasts prompt 0.5"));
    EXPECT_TRUE(isMet(recording, "lasts prompt 500ms +-0ms"));
    EXPECT_FALSE(isMet(recording, "lasts prompt 1"));
}

TEST(Streams, WithOneNameAreHeardTogether) {
    Recording recording = threeStreams();
    recording.report.streams[2].name = "prompt";
    EXPECT_TRUE(isMet(recording, "lasts prompt 0.75"));
    EXPECT_TRUE(isMet(recording, "starts prompt@2500 [2..3]"));
    EXPECT_THAT(errorOf(recording, "mix"), HasSubstr("stream \"prompt\": its stem is not there"));
    recording.report.streams[2].stem = "stems/auxiliary-prompt-2.wav";
    EXPECT_THAT(errorOf(recording, "mix"),
                HasSubstr("stream \"prompt\": its stem stems/auxiliary-prompt-2.wav is not there"));
    recording.laterStems["stems/auxiliary-prompt-2.wav"] = recording.stems["chime"];
    EXPECT_TRUE(isMet(recording, "mix")) << verdictOf(recording, "mix").text;
}

TEST(MixCheck, IsTheSumOfTheStreams) {
    Recording recording = threeStreams();
    for (const char* name : {"music", "prompt", "chime"})
        recording.stems[name].bits = 16;
    EXPECT_TRUE(isMet(recording, "mix")) << verdictOf(recording, "mix").text;
    recording.heard.samples[2 * 60000] += 0.001F;
    EXPECT_FALSE(isMet(recording, "mix"));
    EXPECT_THAT(verdictOf(recording, "mix").measured, HasSubstr("differs from frame 60000 on"));
    recording.stems["music"].bits = 0;  // coded: no longer exact
    EXPECT_TRUE(isMet(recording, "mix"));
    recording.report.frames += 1;
    EXPECT_FALSE(isMet(recording, "mix"));
    recording.stems.erase("music");
    recording.report.frames -= 1;
    EXPECT_THAT(errorOf(recording, "mix"), HasSubstr("stream \"music\": its stem is not there"));
    recording.report = {};
    EXPECT_THAT(errorOf(recording, "mix"), HasSubstr("there is no report"));
}

TEST(PlayedCheck, LooksAtEachStreamOfTheName) {
    const TemporaryDirectory directory;
    Recording recording = threeStreams();
    const std::string file = directory.file("prompt.wav");
    writeWav(file, recording.stems["prompt"]);
    recording.report.streams[2].name = "prompt";
    recording.report.streams[2].stem = "2.wav";
    recording.laterStems["2.wav"] = recording.stems["prompt"];
    EXPECT_TRUE(isMet(recording, "played prompt=" + file));
    EXPECT_THAT(verdictOf(recording, "played prompt=" + file).measured,
                HasSubstr("2 streams, the first one: auxiliary, 0.500 s: arrived, "));
    recording.laterStems["2.wav"] = recording.stems["chime"];
    const Verdict verdict = verdictOf(recording, "played prompt=" + file);
    EXPECT_FALSE(verdict.isMet);
    EXPECT_THAT(verdict.measured, HasSubstr("stream 2 of 2, auxiliary, 0.250 s: arrived, "));
}

TEST(MixCheck, RefusesPlacesThatWrap) {
    for (const hear::Segment& wrong :
         {hear::Segment{SIZE_MAX - 999, 0, 1000}, hear::Segment{0, SIZE_MAX - 999, 1000}}) {
        Recording recording = threeStreams();
        recording.report.streams[2].segments[0] = wrong;
        EXPECT_THAT(errorOf(recording, "mix"),
                    HasSubstr("stream \"chime\": the report places it where"));
    }
}

TEST(MixCheck, RefusesAReportOfSomethingElse) {
    Recording recording = threeStreams();
    recording.report.streams[2].segments[0].frames += RATE;
    EXPECT_THAT(errorOf(recording, "mix"),
                HasSubstr("stream \"chime\": the report places it where"));
}

TEST(PlayedCheck, ComparesTheStemWithTheFile) {
    const TemporaryDirectory directory;
    Recording recording = threeStreams();
    const std::string file = directory.file("prompt.wav");
    writeWav(file, recording.stems["prompt"]);
    recording.report.streams[1].finishes = 1;
    const Verdict verdict = verdictOf(recording, "played prompt='" + file + "'");
    EXPECT_TRUE(verdict.isMet);
    EXPECT_THAT(verdict.measured, HasSubstr("auxiliary, 0.500 s: arrived"));
    EXPECT_THAT(verdict.measured, HasSubstr("end announced"));
    EXPECT_FALSE(isMet(recording, "played music=" + file));
    EXPECT_THAT(errorOf(recording, "played prompt=/nowhere"), HasSubstr("/nowhere: "));
}

}  // namespace

}  // namespace cabinaudio::test
