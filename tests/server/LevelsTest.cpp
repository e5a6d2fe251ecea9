// SPDX-License-Identifier: Apache-2.0
//
// The parts that measure the mix, without the server.
#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/mix/GainChain.h"
#include "devkit/server/mix/GainMatrix.h"
#include "devkit/server/mix/LoadMeter.h"
#include "devkit/server/mix/PeakWindow.h"
#include "devkit/server/mix/Peaks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <vector>

namespace cabinaudio::server {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

// ---- Peaks --------------------------------------------------------------------------------------

TEST(Peaks, AreRaisedPerChannelWhereverTheyLie) {
    for (const std::size_t channels : {1U, 2U, 3U, 6U, 8U}) {
        constexpr std::size_t FRAMES = 21;  // more than the lanes, and some that fill none
        for (std::size_t at = 0; at < FRAMES * channels; ++at) {
            std::vector<float> samples(FRAMES * channels, 0.25F);
            samples[at] = -0.75F;
            std::vector<float> peaks(channels, 0.5F);
            raisePeaks(samples, peaks);
            std::vector<float> expected(channels, 0.5F);
            expected[at % channels] = 0.75F;
            ASSERT_EQ(peaks, expected) << "sample " << at << " of " << channels << " channels";
        }
    }
}

TEST(PeakWindow, KeepsTheHighestPeakForATenthOfASecond) {
    constexpr std::uint32_t OUTPUT_RATE = 48000;
    PeakWindow window(OUTPUT_RATE);
    EXPECT_EQ(window.peak(0), 0.0F);
    window.add(0, 0.5F);
    window.add(768, 0.25F);
    EXPECT_EQ(window.peak(768), 0.5F);
    window.add(4800, 0.125F);
    EXPECT_EQ(window.peak(4800), 0.5F) << "after 100 ms";
    EXPECT_EQ(window.peak(5760), 0.125F) << "after 120 ms";
    EXPECT_EQ(window.peak(4800 + 5760), 0.0F);
    EXPECT_EQ(window.peak(1'000'000'000), 0.0F);
    window.add(1'000'000'000, 0.5F);
    EXPECT_EQ(window.peak(1'000'000'000), 0.5F);
    window.clear();
    EXPECT_EQ(window.peak(1'000'000'000), 0.0F);
}

// ---- Load ---------------------------------------------------------------------------------------

TEST(LoadMeter, SumsTheLastSecond) {
    LoadMeter meter;
    const LoadMeter::Clock::time_point start(3600s);
    for (int i = 0; i < 60; ++i)
        meter.add(start + i * 16ms, start + i * 16ms + 1600us);
    meter.add(start + 960ms, start + 960ms + 4ms);
    const LoadMeter::Load load = meter.load(start + 970ms);
    EXPECT_NEAR(load.share, 0.1, 1e-9);
    EXPECT_EQ(load.longest, 4ms);
    EXPECT_LT(meter.load(start + 1500ms).share, 0.06);
    EXPECT_EQ(meter.load(start + 1500ms).longest, 4ms);
    EXPECT_EQ(meter.load(start + 2s).share, 0.0);
    EXPECT_EQ(meter.load(start + 2s).longest, 0us);
}

// ---- The peak after the gains -------------------------------------------------------------------

float peakAfter(const StreamGains& gains, std::size_t inputs, std::size_t outputs,
                const std::vector<float>& in) {
    GainMatrix matrix(inputs, outputs);
    matrix.set(gains, {});
    std::vector<float> peaks(inputs);
    raisePeaks(in, peaks);
    std::vector<float> out(in.size() / inputs * outputs);
    matrix.add(in.data(), in.size() / inputs, out.data());
    std::vector<float> loudest(1);
    raisePeaks(out, loudest);
    EXPECT_FLOAT_EQ(matrix.peakOf(in.data(), in.size() / inputs, peaks), loudest[0]);
    return loudest[0];
}

TEST(GainMatrix, KnowsThePeakOfWhatItAdds) {
    StreamGains gains;
    gains.loudspeakers = {0.25F, 0.5F, 1, 1, 1, 1};
    EXPECT_EQ(peakAfter(gains, 2, 2, {-1, 0.125F, 0.5F, 0.25F}), 0.25F);
    EXPECT_EQ(peakAfter(gains, 1, 2, {-1, 0.125F}), 0.5F);
    // Folded channels can cancel each other.
    EXPECT_EQ(peakAfter({}, 2, 1, {1, -1, -0.5F, 0.25F}), 0.125F);
    EXPECT_EQ(peakAfter({}, 4, 2, {1, 0, -1, 0, 0, 0, 0, 0.5F}), 0.5F * 0.70710678F / 1.70710678F);
}

// ---- The chain ----------------------------------------------------------------------------------

StreamRecord streamOf(AudioTagType tag, const std::string& type, unsigned channels) {
    StreamRecord stream;
    stream.name = "stream";
    stream.tag = tag;
    stream.type = type;
    stream.format.channels = channels;
    return stream;
}

std::vector<float> factorsOf(const StreamRecord& stream, const SettingsData& settings,
                             std::size_t outputs) {
    std::vector<float> factors;
    for (const GainLink& link : gainChainOf(stream, settings, outputs, ""))
        factors.push_back(link.factor);
    return factors;
}

SettingsData someOfEverything() {
    SettingsData settings;
    settings.volume.master = -3;
    settings.volume.alternative = 5;
    settings.volume.second = -7;
    settings.volume.channels = {-2, -9, -4, -1, -6, -5};
    settings.volume.streamTypes = {{"media", -8}, {"navigation", 2}, {"voice", -11}};
    for (const char* tag : {"main", "alternative", "auxiliary"})
        settings.volume.tracks[{tag, "stream"}] = {-1.5F, {-3, -4, -5, -6, -7, -8, -9, -10}};
    settings.volume.duckPercent = 20;
    settings.mixer.navigation = {-4, -3, -8, -1};
    settings.mixer.alternative = {-1, -2, -9, -8};
    settings.source.speakers = 0x3D;
    return settings;
}

TEST(GainChain, MultipliesToTheGainOfTheLoudestLoudspeaker) {
    SettingsData settings = someOfEverything();
    for (const AudioTagType tag : {AUDIO_TAG_MAIN, AUDIO_TAG_ALTERNATIVE, AUDIO_TAG_AUXILIARY,
                                   AUDIO_TAG_OUTPUT_INVOCATION}) {
        for (const char* type : {"media", "navigation", "voice"}) {
            for (const std::uint32_t upMix : {0U, 1U}) {
                for (const std::size_t outputs : {1U, 2U, 4U, 6U}) {
                    settings.mixer.upMixMode = upMix;
                    const StreamRecord mono = streamOf(tag, type, 1);
                    float product = 1;
                    for (const float factor : factorsOf(mono, settings, outputs))
                        product *= factor;
                    const float heard =
                        peakAfter(gainsOf(mono, settings, false), 1, outputs, {1.0F});
                    EXPECT_NEAR(product, heard, heard * 1e-5F)
                        << tag << ' ' << type << ' ' << upMix << ' ' << outputs;
                }
            }
        }
    }
}

TEST(GainChain, FindsTheStageThatTakesTheLastLoudspeaker) {
    SettingsData settings;
    settings.volume.channels = {-103.5F, -103.5F, 0, 0, 0, 0};  // nothing in the front
    settings.source.speakers = 0x03;                            // nothing in the back
    const StreamRecord quad = streamOf(AUDIO_TAG_MAIN, "media", 4);
    const auto chain = gainChainOf(quad, settings, 4, "");
    ASSERT_EQ(chain.size(), 7U);
    EXPECT_EQ(chain[5].factor, 1.0F) << "the back is heard yet";
    EXPECT_EQ(chain[6].factor, 0.0F);
    EXPECT_TRUE(chain[6].isMuted);
}

TEST(GainChain, TellsTheOwnFactorOfStagesBehindASilentOne) {
    SettingsData settings;
    settings.volume.streamTypes["media"] = -103.5F;
    settings.volume.master = -20;
    const StreamRecord stereo = streamOf(AUDIO_TAG_AUXILIARY, "media", 2);
    EXPECT_THAT(factorsOf(stereo, settings, 2), ElementsAre(1, 0, ::testing::FloatEq(0.1F), 1, 1));
}

TEST(GainChain, NamesTheLowerOfTwoReasonsToDuck) {
    SettingsData settings;
    settings.volume.duckingMode = 1;
    settings.volume.duckPercent = 50;
    const StreamRecord music = streamOf(AUDIO_TAG_MAIN, "media", 2);
    const auto ducking = [&](const char* prompt) {
        return gainChainOf(music, settings, 2, prompt).at(4);
    };
    EXPECT_EQ(ducking("").cause, "duck 50 %");
    EXPECT_EQ(ducking("left").cause, "left");
    EXPECT_EQ(ducking("left").setting, "ducking.target");
    settings.volume.duckPercent = 95;
    EXPECT_EQ(ducking("left").cause, "duck 95 %");
}

}  // namespace
}  // namespace cabinaudio::server
