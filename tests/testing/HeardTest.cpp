// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/testing/Directory.h>
#include <cabinaudio/testing/Failure.h>
#include <cabinaudio/testing/Heard.h>

#include <gmock/gmock.h>

#include <string>

using namespace cabinaudio::testing;

namespace {

constexpr unsigned BURSTS_RATE = 1000;

/// Silence with sound in [0.1, 0.2) and [0.205, 0.3) on the left, and in [0.5, 0.6) on the right.
Sound bursts() {
    Sound sound{BURSTS_RATE, 2, std::vector<float>(2 * BURSTS_RATE), {}};
    const auto fill = [&](unsigned channel, unsigned from, unsigned to) {
        for (unsigned frame = from; frame < to; ++frame)
            sound.samples[2 * frame + channel] = frame % 2 == 0 ? 0.5F : -0.5F;
    };
    fill(0, 100, 200);
    fill(0, 205, 300);
    fill(1, 500, 600);
    return sound;
}

}  // namespace

TEST(Heard, FindsWhenALoudspeakerHadSound) {
    const Heard heard = bursts();
    const std::vector<Segment> left = heard.loudspeaker(0);
    ASSERT_EQ(left.size(), 1U) << "a pause of 5 ms ends no segment";
    EXPECT_DOUBLE_EQ(left[0].from, 0.1);
    EXPECT_DOUBLE_EQ(left[0].to, 0.3);
    const std::vector<Segment> right = heard.loudspeaker(1);
    ASSERT_EQ(right.size(), 1U);
    EXPECT_DOUBLE_EQ(right[0].from, 0.5);
    EXPECT_DOUBLE_EQ(right[0].to, 0.6);
}

TEST(Heard, TakesPausesAndSilenceAsAsked) {
    const Heard heard = bursts();
    const std::vector<Segment> left = heard.loudspeaker(0, -80, 0.004);
    ASSERT_EQ(left.size(), 2U);
    EXPECT_DOUBLE_EQ(left[0].to, 0.2);
    EXPECT_DOUBLE_EQ(left[1].from, 0.205);
    EXPECT_THAT(heard.loudspeaker(0, -3), ::testing::IsEmpty());
}

TEST(Heard, RefusesALoudspeakerThatIsNotThere) {
    EXPECT_THROW((void)Heard(bursts()).loudspeaker(2), Failure);
}

TEST(Heard, OfASoundKnowsNoStreams) {
    const Heard heard = bursts();
    EXPECT_THAT(heard.streams(), ::testing::IsEmpty());
    EXPECT_THAT(heard.segments("music"), ::testing::IsEmpty());
    EXPECT_THROW((void)heard.stem("music"), Failure);
}

TEST(Heard, JudgesChecks) {
    const std::vector<Judgement> judged = Heard(bursts()).judge({"silence [0.6..1]", "silence"});
    ASSERT_EQ(judged.size(), 2U);
    EXPECT_TRUE(judged[0].isMet);
    EXPECT_DOUBLE_EQ(judged[0].from, 0.6);
    EXPECT_FALSE(judged[1].isMet);
    EXPECT_DOUBLE_EQ(judged[1].at, 0.1);
    EXPECT_THAT(judged[1].text, ::testing::HasSubstr(judged[1].measured));
}

TEST(Heard, NamesAFileThatCannotBeRead) {
    try {
        const Heard heard("/nowhere/heard.wav");
        FAIL() << "read";
    } catch (const Failure& failure) {
        EXPECT_THAT(failure.what(), ::testing::HasSubstr("/nowhere/heard.wav"));
    }
}

TEST(Sound, HasChannels) {
    const Sound right = bursts().channel(1);
    EXPECT_EQ(right.channels, 1U);
    EXPECT_EQ(right.frames(), BURSTS_RATE);
    EXPECT_EQ(right.samples[500], 0.5F);
    EXPECT_EQ(right.samples[100], 0.0F);
    EXPECT_THROW((void)bursts().channel(2), Failure);
}
