// SPDX-License-Identifier: Apache-2.0
// The texts of checks: what is understood, and what is said about the rest.
#include "devkit/hear/Error.h"
#include "tests/hear/Synth.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cabinaudio::test {

namespace {

using testing::HasSubstr;

struct BadText {
    const char* check;
    const char* error;
};

class BadCheckText : public testing::TestWithParam<BadText> {};

TEST_P(BadCheckText, IsRefusedWithTheWordAtFault) {
    const std::string error = errorOf(recordingOf(tone(440, -12, RATE)), GetParam().check);
    EXPECT_THAT(error, HasSubstr(GetParam().error));
    EXPECT_THAT(error, HasSubstr("check \"" + std::string(GetParam().check)));
    EXPECT_EQ(error.find('\n'), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    All, BadCheckText,
    testing::Values(
        BadText{"", "a check is missing"}, BadText{"  ", "a check is missing"},
        BadText{"[0..1]", "a check is missing at the end"},
        BadText{"volume -12", "\"volume\" is no check; the checks are level, peak"},
        BadText{"level", "a level is missing at the end"},
        BadText{"level loud", "word 2, \"loud\": a level must be a number"},
        BadText{"level nan", "word 2, \"nan\": a level must be a number"},
        BadText{"level 0x10", "the unit of a level must be dB or dBFS"},
        BadText{"level 1-2", "word 2, \"1-2\": a level must be a number"},
        BadText{"level ''", "a level is empty"},
        BadText{"level -12Hz", "the unit of a level must be dB or dBFS"},
        BadText{"level -12 -13", "word 3, \"-13\": is not understood; the check is: level DB"},
        BadText{"level -12 tol=x", "word 3, \"tol=x\": tol must be a number"},
        BadText{"level -12 tol=-1", "the tolerance must not be negative"},
        BadText{"level -12 lvl=1", "word 3, \"lvl=1\": is not understood"},
        BadText{"level -12 on", "a loudspeaker is missing after \"on\""},
        BadText{"level -12 on left", "word 4, \"left\": must be a loudspeaker"},
        BadText{"level -12 on 8", "word 4, \"8\": must be a loudspeaker"},
        BadText{"level -12 on=-1", "must be a loudspeaker"},
        BadText{"level -12 [1]", "word 3, \"1\": a range must be [FROM..TO]"},
        BadText{"level -12 [2..1]", "word 3, \"2..1\": the range ends before it begins"},
        BadText{"level -12 [1..1]", "the range ends before it begins"},
        BadText{"level -12 [-1..1]", "a place must not be negative"},
        BadText{"level -12 [a..1]", "a place must be a number"},
        BadText{"level -12 [1.5f..2]", "frames must be a whole number before the f"},
        BadText{"level -12 [0..1] [1..2]", "a second range"},
        BadText{"level -12 [0..1", "the closing ] is missing"},
        BadText{"same 'my file", "the closing ' is missing"},
        BadText{"same", "a file is missing at the end"},
        BadText{"starts prompt", "word 2, \"prompt\": must be NAME@MS"},
        BadText{"starts @100", "must be NAME@MS"}, BadText{"starts prompt@", "must be NAME@MS"},
        BadText{"starts prompt@soon", "the time behind @ must be a number"},
        BadText{"starts prompt@-1", "the time behind @ must not be negative"},
        BadText{"played prompt", "must be NAME=FILE"},
        BadText{"order a", "the name of another stream is missing at the end"},
        BadText{"order a b [0..1]",
                "word 4, \"0..1\": is not understood; the check is: order NAME"},
        BadText{"mix now", "word 2, \"now\": is not understood; the check is: mix"},
        BadText{"ducked music", "\"by\" is missing at the end"},
        BadText{"ducked music to -20 during x", "word 3, \"to\": must be \"by\""},
        BadText{"ducked music by -20dB while x", "word 5, \"while\": must be \"during\""},
        BadText{"ducked music by -20dB during", "the name of another stream is missing"},
        BadText{"ducked a by 1 during b ramp=-1", "times must not be negative"},
        BadText{"lasts long", "word 2, \"long\": a length must be a number"}));

TEST(CheckText, ErrorComesBeforeAnyVerdict) {
    const Recording recording = recordingOf(tone(440, -12, RATE));
    EXPECT_THROW((void)hear::judge(recording, {"same /nowhere/file.wav", "nonsense"}), hear::Error);
    try {
        (void)hear::judge(recording, {"same /nowhere/file.wav", "nonsense"});
    } catch (const hear::Error& error) {
        EXPECT_THAT(error.what(), HasSubstr("nonsense"));
    }
}

TEST(CheckText, VerdictsKeepTheOrder) {
    const Recording recording = recordingOf(tone(440, -12, RATE));
    const auto verdicts = hear::judge(recording, {"tone 440", "silence", "level -12"});
    ASSERT_EQ(verdicts.size(), 3U);
    EXPECT_TRUE(verdicts[0].isMet);
    EXPECT_FALSE(verdicts[1].isMet);
    EXPECT_TRUE(verdicts[2].isMet);
    EXPECT_EQ(verdicts[1].check, "silence");
}

TEST(CheckText, RangeWithoutAFrameIsRefused) {
    const Recording recording = recordingOf(tone(440, -12, RATE));
    EXPECT_THAT(errorOf(recording, "level -12 [0.5..24000f]"), HasSubstr("holds no frame"));
}

TEST(CheckText, RecordingWithoutSoundIsRefused) {
    EXPECT_THAT(errorOf(Recording{}, "silence"), HasSubstr("no sound"));
}

TEST(CheckText, NeededSecondsEndWithTheRange) {
    EXPECT_EQ(hear::neededSeconds("level -12 [0..1.5]", RATE), 1.5);
    EXPECT_EQ(hear::neededSeconds("level -12 [0..48000f]", RATE), 1.0);
    EXPECT_EQ(hear::neededSeconds("level -12", RATE), std::nullopt);
    EXPECT_GE(hear::neededSeconds("lasts 2", RATE).value_or(0), 2.0);
    EXPECT_GE(hear::neededSeconds("starts a@500", RATE).value_or(0), 0.5);
    EXPECT_THROW((void)hear::neededSeconds("nonsense", RATE), hear::Error);
}

}  // namespace

}  // namespace cabinaudio::test
