// SPDX-License-Identifier: Apache-2.0
// Ducking, in mixes that are made by the server's rules.
#include "tests/hear/Synth.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace cabinaudio::test {

namespace {

using testing::HasSubstr;

constexpr std::size_t MS = RATE / 1000;

struct Ducking {
    double db = -20;
    std::size_t attackMs = 8;  // from the prompt's start to the ramp
    std::size_t holdMs = 208;  // from its end to the ramp
    std::size_t rampMs = 20;
    std::size_t beginMs = 1000;
    std::size_t endMs = 2000;
};

/// The factor of the music at a frame.
double factorAt(std::size_t frame, const Ducking& ducking) {
    const double depth = std::pow(10, ducking.db / 20);
    const auto ramp = [&](std::size_t beginMs) {
        const double gone = (static_cast<double>(frame) - static_cast<double>(beginMs * MS)) /
                            static_cast<double>(std::max<std::size_t>(ducking.rampMs, 1) * MS);
        return std::clamp(gone, 0.0, 1.0);
    };
    return 1 - (1 - depth) * (ramp(ducking.beginMs + ducking.attackMs) -
                              ramp(ducking.endMs + ducking.holdMs));
}

/// Three seconds of music, ducked during a prompt.
Recording ducked(const Ducking& ducking, const std::vector<float>& music,
                 const std::vector<float>& prompt) {
    Recording recording = recordingOf(soundOf(std::vector<float>(3 * RATE), 2));
    addStream(recording, "music", music, 0);
    for (std::size_t i = 0; i < recording.heard.samples.size(); ++i)
        recording.heard.samples[i] *= static_cast<float>(factorAt(i / 2, ducking));
    addStream(recording, "prompt",
              {prompt.begin(), prompt.begin() + static_cast<std::ptrdiff_t>(
                                                    (ducking.endMs - ducking.beginMs) * MS)},
              ducking.beginMs * MS);
    return recording;
}

Recording ducked(const Ducking& ducking) {
    return ducked(ducking, tone(440, -12, 3 * RATE), tone(1000, -12, RATE));
}

constexpr char CHECK[] = "ducked music by -20dB during prompt";

TEST(DuckedCheck, MeasuresDepthAttackAndRelease) {
    const Verdict verdict = verdictOf(ducked({}), CHECK);
    EXPECT_TRUE(verdict.isMet) << verdict.text;
    EXPECT_THAT(verdict.measured, HasSubstr("-20 dB 28 ms after the start, released 224 ms"));
    EXPECT_TRUE(isMet(ducked({}), "ducked music by 20dB during prompt"));
    EXPECT_TRUE(isMet(ducked({}), "ducked music by -20.9dB during prompt"));
    EXPECT_FALSE(isMet(ducked({}), "ducked music by -21.1dB during prompt"));
    EXPECT_FALSE(isMet(ducked({}), "ducked music by -20.9dB during prompt tol=0.5"));
}

TEST(DuckedCheck, SpeechLikeSoundsAreToldApart) {
    EXPECT_TRUE(isMet(ducked({}, noise(3 * RATE, 0.25F, 1), noise(RATE, 0.25F, 2)), CHECK));
}

TEST(DuckedCheck, WorksWhenAVolumeIsSet) {
    Recording recording = ducked({});
    for (float& sample : recording.heard.samples)
        sample *= 0.3F;
    EXPECT_TRUE(isMet(recording, CHECK));
}

TEST(DuckedCheck, NoDuckingIsNotMet) {
    Ducking none;
    none.db = 0;
    const Verdict verdict = verdictOf(ducked(none), CHECK);
    EXPECT_FALSE(verdict.isMet);
    EXPECT_NEAR(verdict.at.value_or(0), 1.036, 0.001);
}

TEST(DuckedCheck, LateAttackIsNotMet) {
    Ducking late;
    late.attackMs = 30;
    EXPECT_FALSE(isMet(ducked(late), CHECK));
    late.attackMs = 16;
    EXPECT_TRUE(isMet(ducked(late), CHECK));
}

TEST(DuckedCheck, SlowRampIsMetOnlyIfSaidSo) {
    Ducking slow;
    slow.rampMs = 200;
    EXPECT_FALSE(isMet(ducked(slow), CHECK));
    EXPECT_TRUE(isMet(ducked(slow), std::string(CHECK) + " ramp=200ms"));
}

TEST(DuckedCheck, EarlyAndLateReleaseAreNotMet) {
    Ducking release;
    release.holdMs = 150;
    EXPECT_FALSE(isMet(ducked(release), CHECK));
    EXPECT_TRUE(isMet(ducked(release), std::string(CHECK) + " hold=150"));
    release.holdMs = 300;
    const Verdict verdict = verdictOf(ducked(release), CHECK);
    EXPECT_FALSE(verdict.isMet);
    EXPECT_THAT(verdict.measured, HasSubstr("not released"));
    release.holdMs = 5000;
    EXPECT_FALSE(isMet(ducked(release), CHECK));
}

TEST(DuckedCheck, SoundMayEndWithThePrompt) {
    Ducking end;
    end.beginMs = 2000;
    end.endMs = 3000;
    EXPECT_TRUE(isMet(ducked(end), CHECK));
}

TEST(DuckedCheck, MusicThatIsNeverHeardAloneIsNotMet) {
    Recording recording = ducked({});
    recording.report.streams[1].segments[0] = {0, 0, 3 * RATE};
    recording.stems["prompt"] = soundOf(tone(1000, -12, 3 * RATE), 2);
    EXPECT_THAT(verdictOf(recording, CHECK).measured, HasSubstr("is not heard without"));
}

TEST(DuckedCheck, EqualSoundsCannotBeToldApart) {
    const std::vector<float> music = tone(1000, -12, 3 * RATE);
    const Verdict verdict = verdictOf(ducked({}, music, tone(1000, -12, RATE)), CHECK);
    EXPECT_FALSE(verdict.isMet);
    EXPECT_THAT(verdict.measured, HasSubstr("cannot be measured"));
}

TEST(DuckedCheck, ShortGapDoesNotEndThePrompt) {
    Recording recording = ducked({});
    // The report shows the prompt in two pieces, 100 ms apart.
    auto& segments = recording.report.streams[1].segments;
    segments = {{RATE, 0, RATE / 2}, {RATE + 600 * MS, 600 * MS, 400 * MS}};
    for (std::size_t i = 2 * (RATE + RATE / 2); i < 2 * (RATE + 600 * MS); ++i)
        recording.heard.samples[i] -= recording.stems["prompt"].samples[i - 2 * RATE];
    EXPECT_TRUE(isMet(recording, CHECK)) << verdictOf(recording, CHECK).text;
}

// ---- Several prompts ----------------------------------------------------------------------------

/// When the server ducks or releases, and the prompt that it names.
struct Turn {
    std::size_t ms;
    const char* by;  // empty: the music is released
};

/// Four seconds of music, and prompts from 500 to 1500 ms and from `secondMs` to 2500 ms.
struct TwoPrompts {
    std::size_t secondMs;
    std::vector<Turn> turns;
    const char* first = "p1";
    const char* second = "p2";
};

TwoPrompts promptsFrom(std::size_t secondMs) {
    if (secondMs + 12 < 1708) return {secondMs, {{512, "p1"}, {2708, ""}}};
    return {secondMs, {{512, "p1"}, {1708, ""}, {secondMs + 12, "p2"}, {2708, ""}}};
}

/// From each turn on, the factor goes to its value within 20 ms.
std::vector<float> ducked(std::vector<float> music, const std::vector<Turn>& turns) {
    constexpr double STEP = 0.9 / (20.0 * MS);
    double factor = 1;
    for (std::size_t i = 0; i < music.size(); ++i) {
        double wanted = 1;
        for (const Turn& turn : turns)
            if (i >= turn.ms * MS) wanted = *turn.by != '\0' ? 0.1 : 1;
        factor += std::clamp(wanted - factor, -STEP, STEP);
        music[i] *= static_cast<float>(factor);
    }
    return music;
}

Recording mixOf(const TwoPrompts& prompts) {
    Recording recording = recordingOf(soundOf(std::vector<float>(4 * RATE), 2));
    const std::vector<float> music = noise(4 * RATE, 0.25F, 1);
    addStream(recording, "radio", ducked(music, prompts.turns), 0);
    recording.stems["radio"] = soundOf(music, 2);
    addStream(recording, prompts.first, noise(RATE, 0.25F, 2), RATE / 2);
    const Sound stem = recording.stems.at(prompts.first);
    addStream(recording, prompts.second, noise((2500 - prompts.secondMs) * MS, 0.25F, 3),
              prompts.secondMs * MS);
    auto& streams = recording.report.streams;
    streams[0].tag = "main";
    streams[1].tag = streams[2].tag = "alternative";
    if (streams[1].name == streams[2].name) {
        streams[2].stem = "second.wav";
        recording.laterStems["second.wav"] = recording.stems.at(prompts.second);
        recording.stems[prompts.first] = stem;
    }
    for (const Turn& turn : prompts.turns) {
        const double db = *turn.by != '\0' ? -20 : 0;
        recording.report.changes.push_back(
            {turn.ms * MS, static_cast<double>(turn.ms), "ducking", db, turn.by});
    }
    return recording;
}

/// A second prompt that comes while the music is still ducked, rises again, or has just risen.
class SecondPrompt : public testing::TestWithParam<std::size_t> {};

TEST_P(SecondPrompt, IsMetAsTheFirstOneIs) {
    const Recording recording = mixOf(promptsFrom(GetParam()));
    for (const char* check : {"ducked radio by -20dB during p1", "ducked radio by -20dB during p2"})
        EXPECT_TRUE(isMet(recording, check)) << verdictOf(recording, check).text;
    EXPECT_FALSE(isMet(recording, "ducked radio by -12dB during p2"));
}

TEST_P(SecondPrompt, IsMetWithoutTheChanges) {
    Recording recording = mixOf(promptsFrom(GetParam()));
    recording.report.changes.clear();
    for (const char* check : {"ducked radio by -20dB during p1", "ducked radio by -20dB during p2"})
        EXPECT_TRUE(isMet(recording, check)) << verdictOf(recording, check).text;
}

TEST_P(SecondPrompt, IsMetWithTheNameOfTheFirst) {
    TwoPrompts prompts = promptsFrom(GetParam());
    prompts.second = prompts.first;
    const Recording recording = mixOf(prompts);
    constexpr char BOTH[] = "ducked radio by -20dB during p1";
    EXPECT_TRUE(isMet(recording, BOTH)) << verdictOf(recording, BOTH).text;
}

TEST_P(SecondPrompt, IsNotMetIfTheMusicStaysLoud) {
    TwoPrompts prompts = promptsFrom(GetParam());
    prompts.turns = {{512, "p1"}, {1708, ""}};
    Recording recording = mixOf(prompts);
    EXPECT_TRUE(isMet(recording, "ducked radio by -20dB during p1"));
    EXPECT_FALSE(isMet(recording, "ducked radio by -20dB during p2"));
    recording.report.changes.push_back({(GetParam() + 12) * MS, 0, "ducking", -20, "p2"});
    EXPECT_FALSE(isMet(recording, "ducked radio by -20dB during p2")) << "whatever the report says";
}

INSTANTIATE_TEST_SUITE_P(All, SecondPrompt, testing::Values(1450, 1600, 1720, 1740, 1800, 1840));

TEST(DuckedCheck, SaysThatAnotherPromptPreventsTheRelease) {
    const Recording recording = mixOf(promptsFrom(1600));
    const Verdict verdict = verdictOf(recording, "ducked radio by -20dB during p1");
    EXPECT_THAT(verdict.measured, HasSubstr("release not judged while \"p2\" may duck"));
    EXPECT_THAT(verdictOf(recording, "ducked radio by -20dB during p2").measured,
                HasSubstr("released 22"));
}

TEST(DuckedCheck, LateReleaseIsFoundBeforeADistantPrompt) {
    TwoPrompts prompts = promptsFrom(2200);
    prompts.turns[1].ms = 1900;
    EXPECT_THAT(verdictOf(mixOf(prompts), "ducked radio by -20dB during p1").measured,
                HasSubstr("not released"));
}

TEST(DuckedCheck, MusicThatBeginsDuckedIsComparedWithItsEnd) {
    Recording recording = mixOf(promptsFrom(1600));
    Sound& heard = recording.heard;
    const Sound stem = recording.stems.at("radio");
    auto& segment = recording.report.streams[0].segments[0];
    segment = {RATE, RATE, 3 * RATE};
    const std::vector<float> early = ducked(noise(RATE, 0.25F, 1), {{512, "p1"}});
    for (std::size_t i = 0; i < heard.channels * std::size_t{RATE}; ++i)
        heard.samples[i] -= early[i / heard.channels];
    for (const char* check : {"ducked radio by -20dB during p1", "ducked radio by -20dB during p2"})
        EXPECT_TRUE(isMet(recording, check)) << verdictOf(recording, check).text;
}

TEST(DuckedCheck, PercentThatWasAskedForIsTheUsualGain) {
    TwoPrompts prompts = promptsFrom(2200);
    Recording recording = mixOf(prompts);
    recording.report.changes.insert(recording.report.changes.begin(), {0, 0, "ducking", -6, ""});
    EXPECT_TRUE(isMet(recording, "ducked radio by -20dB during p2"));
}

TEST(DuckedCheck, StreamsOfOneNameNeedOneTag) {
    Recording recording = mixOf(promptsFrom(1600));
    recording.report.streams[2].name = "radio";
    EXPECT_THAT(errorOf(recording, "ducked radio by -20dB during p1"),
                HasSubstr("streams \"radio\" of several tags"));
}

TEST(DuckedCheck, NeedsReportAndStems) {
    Recording recording = ducked({});
    recording.stems.erase("music");
    EXPECT_THAT(errorOf(recording, CHECK), HasSubstr("stream \"music\": its stem is not there"));
    recording.report = {};
    EXPECT_THAT(errorOf(recording, CHECK), HasSubstr("there is no report"));
}

}  // namespace

}  // namespace cabinaudio::test
