// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/testing/Directory.h>
#include <cabinaudio/testing/Matchers.h>

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>

#include <cmath>
#include <string>

using namespace cabinaudio::testing;
using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

constexpr unsigned TONE_RATE = 48000;

/// A tone in stereo, for a second. An amplitude of 0.5 has a level of -9.03 dB.
Sound tone(double hz = 440, double amplitude = 0.5) {
    Sound sound{TONE_RATE, 2, {}, {}};
    for (unsigned i = 0; i < TONE_RATE; ++i)
        sound.samples.insert(
            sound.samples.end(), 2,
            static_cast<float>(amplitude * std::sin(2 * M_PI * hz * i / TONE_RATE)));
    return sound;
}

Sound silence() {
    return {TONE_RATE, 2, std::vector<float>(2 * TONE_RATE), {}};
}

/// The tone with a part of it replaced.
Sound toneWith(std::size_t frame, std::size_t count, float value) {
    Sound sound = tone();
    for (std::size_t i = 2 * frame; i < 2 * (frame + count); ++i)
        sound.samples[i] = value;
    return sound;
}

std::string explanation(const HeardMatcher& matcher, const Heard& heard) {
    ::testing::StringMatchResultListener listener;
    EXPECT_FALSE(::testing::ExplainMatchResult(matcher, heard, &listener)) << matcher.check();
    return listener.str();
}

}  // namespace

TEST(Matchers, MatchASoundThatMeetsThem) {
    EXPECT_THAT(tone(), AllOf(HasLevel(-9.03), HasPeakBelow(-6), HasTone(440), HasNoGap(),
                              HasNoClick(), Lasts(1), IsNotClipped()));
    EXPECT_THAT(tone(), HasTone(440, -9.03));
    EXPECT_THAT(silence(), IsSilent());
    EXPECT_THAT(Heard(tone()), Not(IsSilent()));
}

TEST(Matchers, WriteTheTextOfTheCheck) {
    EXPECT_EQ(HasTone(440, -12).within("2Hz").on("LF").between(0.5, 2).check(),
              "tone 440 level=-12 +-2Hz on LF [0.5..2]");
    EXPECT_EQ(IsDucked("music", -20).during("prompt").check(),
              "ducked music by -20dB during prompt");
    EXPECT_EQ(StartsAt("prompt", 5000ms).check(), "starts prompt@5000");
    EXPECT_EQ(IsSameAs("a b.wav").check(), "same 'a b.wav'");
    EXPECT_EQ(IsLike("it's.wav").check(), "like \"it's.wav\"");
    EXPECT_EQ(StartsAt("my prompt", 5000ms).check(), "starts 'my prompt@5000'");
    EXPECT_EQ(IsDucked("my music", -20).during("it's time").check(),
              "ducked 'my music' by -20dB during \"it's time\"");
    EXPECT_EQ(HasOrder({"a", "b", "c"}).check(), "order a b c");
    EXPECT_EQ(HasOrder({"a b", "c"}).check(), "order 'a b' c");
    EXPECT_EQ(HasOverlap("a", "b").check(), "overlap a b");
    EXPECT_EQ(HasOverlap("a b", "c").check(), "overlap 'a b' c");
    EXPECT_EQ(Meets("click-free [1..2]").check(), "click-free [1..2]");
    EXPECT_EQ(::testing::DescribeMatcher<Heard>(HasLevel(-3)), "meets 'level -3'");
    EXPECT_EQ(::testing::DescribeMatcher<Heard>(Not(HasLevel(-3))), "does not meet 'level -3'");
}

TEST(Matchers, LookAtTheRangeAndTheLoudspeakerAskedFor) {
    const Sound sound = toneWith(TONE_RATE / 2, TONE_RATE / 2, 0);
    EXPECT_THAT(sound, HasTone(440).between(0, 0.5));
    EXPECT_THAT(sound, IsSilent().between(0.5, 1));
    Sound left = tone();
    for (std::size_t i = 1; i < left.samples.size(); i += 2)
        left.samples[i] = 0;
    EXPECT_THAT(left, AllOf(HasTone(440).on("LF"), IsSilent().on("RF"), IsSilent().on("1")));
}

TEST(Matchers, ExplainWhatWasMeasuredAndWhere) {
    EXPECT_EQ(explanation(HasLevel(-8), tone()),
              "which has -9.03 dBFS instead of -8 dBFS +-0.5 dB from 0.000 s to 1.000 s");
    EXPECT_THAT(explanation(HasPeakBelow(-12), tone()),
                HasSubstr("which has peak -6.02 dBFS instead of not above -12 dBFS at 0.0"));
    EXPECT_THAT(explanation(HasTone(880).between(0.25, 0.75), tone()),
                AllOf(HasSubstr("which has 440"), HasSubstr("instead of 880 Hz +-4.4 Hz"),
                      HasSubstr(" from 0.250 s to 0.750 s")));
    EXPECT_THAT(explanation(IsSilent(), toneWith(0, TONE_RATE / 4, 0)),
                AllOf(HasSubstr("instead of below -90 dBFS"), HasSubstr(" at 0.250 s")));
    EXPECT_THAT(explanation(HasNoGap(), toneWith(TONE_RATE / 2, 480, 0)),
                AllOf(HasSubstr("longest gap 10"), HasSubstr(" at 0.500 s")));
    EXPECT_THAT(explanation(HasNoClick(), toneWith(TONE_RATE / 4, 1, 0.9F)),
                HasSubstr(" at 0.250 s"));
    EXPECT_THAT(explanation(Lasts(2), tone()), HasSubstr("2"));
    EXPECT_THAT(explanation(IsNotClipped(), toneWith(TONE_RATE / 4, 3, 1)),
                AllOf(HasSubstr("6 samples at the limit"), HasSubstr(" at 0.250 s")));
}

TEST(Matchers, FailWithTheCheckWhenItCannotBeMade) {
    const Sound sound = tone();
    EXPECT_NONFATAL_FAILURE(EXPECT_THAT(sound, Not(Meets("loud"))), "check 'loud': ");
    EXPECT_NONFATAL_FAILURE(EXPECT_THAT(sound, Not(IsDucked("music", -20).during("prompt"))),
                            "check 'ducked music by -20dB during prompt': ");
    EXPECT_NONFATAL_FAILURE(EXPECT_THAT(sound, Not(IsSameAs("/nowhere.wav"))), "/nowhere.wav");
    EXPECT_NONFATAL_FAILURE(EXPECT_THAT(sound, Not(HasLevel(0).on("9"))), "\"9\"");
}

TEST(Matchers, NameTheFileOfASoundThatWasRead) {
    const TestDirectory directory;
    Sound sound = tone();
    sound.path = directory.file("heard.wav");
    EXPECT_THAT(explanation(HasLevel(0), sound), HasSubstr(", heard in " + sound.path));
}

TEST(Matchers, PrintASoundWithoutItsSamples) {
    EXPECT_EQ(::testing::PrintToString(tone()), "1.000 s, 48000 Hz, 2 channels, peak -6.0 dBFS");
    EXPECT_EQ(::testing::PrintToString(Heard(tone().channel(0))),
              "1.000 s, 48000 Hz, 1 channel, peak -6.0 dBFS");
    EXPECT_EQ(::testing::PrintToString(silence()), "1.000 s, 48000 Hz, 2 channels, silent");
    EXPECT_EQ(::testing::PrintToString(Sound{}), "0.000 s, 0 Hz, 0 channels, silent");
}
