// SPDX-License-Identifier: Apache-2.0
//
// Gains: both ends of the range are sent unchanged; values just outside it and NaN are refused.
#include "tests/settings/Row.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>

namespace cabinaudio::test {
namespace {

constexpr float INFINITE = std::numeric_limits<float>::infinity();
constexpr float NO_NUMBER = std::numeric_limits<float>::quiet_NaN();

constexpr const char* INVALID = "invalid input param\n";

struct Gain {
    const char* test;
    const char* operation;  // as its log line calls it
    std::uint32_t function;
    std::size_t offset;  // of the value in the request
    std::function<int(const Clients&, float)> call;
    float high = 24.0F;
    const char* format = INVALID;  // of its message, for the value
    std::uint32_t type = VOLUME;

    [[nodiscard]] const char* file() const {
        return type == VOLUME ? "ClientVolumeSetting" : "ClientMixerSetting";
    }
};

std::string formatted(const char* format, float value) {
    char message[200];
    std::snprintf(message, sizeof message, format, static_cast<double>(value));
    return message;
}

class GainRange : public ::testing::TestWithParam<Gain> {
protected:
    const Gain gain = GetParam();
    ScriptedServer server;
    LogCapture log;
};

TEST_P(GainRange, IsSentUpToBothEnds) {
    const Clients clients(gain.type);
    log.clear();
    std::size_t sent = 0;
    for (const float value : {-103.5F, gain.high, std::nextafter(-103.5F, 0.0F),
                              std::nextafter(gain.high, -1.0F), -0.0F}) {
        EXPECT_EQ(gain.call(clients, value), 0) << value;
        const std::vector<Request> requests = server.requests(gain.type, gain.function);
        ASSERT_EQ(requests.size(), ++sent) << value;
        const Bytes& payload = requests.back().payload;
        ASSERT_GE(payload.size(), gain.offset + 4);
        const auto begin = payload.begin() + static_cast<std::ptrdiff_t>(gain.offset);
        EXPECT_EQ(Bytes(begin, begin + 4), real(value));
    }
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_P(GainRange, IsRefusedBeyondBothEnds) {
    const Clients clients(gain.type);
    for (const float value :
         {std::nextafter(-103.5F, -200.0F), -104.0F, std::nextafter(gain.high, 200.0F),
          gain.high + 0.1F, INFINITE, -INFINITE, NO_NUMBER, -NO_NUMBER,
          std::numeric_limits<float>::max(), std::numeric_limits<float>::lowest()}) {
        log.clear();
        EXPECT_EQ(gain.call(clients, value), REFUSED) << value;
        EXPECT_EQ(log.lines().size(), 1U) << log.dump();
        EXPECT_TRUE(logged(log, ERROR, gain.file(), gain.operation, formatted(gain.format, value)))
            << value;
    }
    EXPECT_EQ(server.requests().size(), 1U) << "sent more than the registration";
}

std::vector<Gain> volumeGains() {
    return {
        {"MainAudioDunkingTarget", "setMainAudioDunkingTargetGain", 26, 4,
         [](auto& c, float dB) { return c.volume().setMainAudioDunkingTargetGain(dB); }, 0.0F},
        {"MasterVolume", "setMasterVolume", 20, 4,
         [](auto& c, float dB) { return c.volume().setMasterVolume(dB); }},
        {"SecondAudioVolume", "setSecondAudioVolume", 22, 4,
         [](auto& c, float dB) { return c.volume().setSecondAudioVolume(dB); }},
        {"AlterAudioVolume", "setAlterAudioVolume", 31, 4,
         [](auto& c, float dB) { return c.volume().setAlterAudioVolume(dB); }},
        {"ChannelGain", "setChannelGain", 27, 8,
         [](auto& c, float dB) { return c.volume().setChannelGain(audio::AUDIO_CHANNEL_LF, dB); }},
        {"TrackVolume", "setTrackVolume", 24, 132,
         [](auto& c, float dB) { return c.volume().setTrackVolume("main", "radio", dB); }},
        {"GainByStreamType", "setGainByStreamType", 39, 68,
         [](auto& c, float dB) { return c.volume().setGainByStreamType("music", dB); }, 24.0F,
         "Invalid input param(gain:%f, streamtype:music)\n"},
    };
}

/// The channel gain at a place; the others are in range.
Gain trackChannel(std::size_t at, const char* test, const char* format) {
    const auto call = [at](const Clients& c, float dB) {
        float gains[8] = {};
        gains[at] = dB;
        return c.volume().setTrackChannelGain("auxiliary", "radio", gains);
    };
    return {test, "setTrackChannelGain", 43, 132 + 4 * at, call, 24.0F, format};
}

std::vector<Gain> trackChannelGains() {
    return {
        trackChannel(0, "FirstTrackChannel", "invalid channelGain[0]:%.1f\n"),
        trackChannel(4, "FifthTrackChannel", "invalid channelGain[4]:%.1f\n"),
        trackChannel(7, "LastTrackChannel", "invalid channelGain[7]:%.1f\n"),
    };
}

Gain mixerWord(bool isGps, std::size_t at, const char* test) {
    const auto call = [=](const Clients& c, float dB) {
        audio::audio_mixer_matrix_t matrix{};
        matrix.gain[at] = dB;
        return isGps ? c.mixer().setGpsMixerGain(&matrix)
                     : c.mixer().setAlternativeAudioMixerGain(&matrix);
    };
    const char* const operation = isGps ? "setGpsMixerGain" : "setAlternativeAudioMixerGain";
    return {test, operation, isGps ? 8U : 10U, 8 + 4 * at, call, 0.0F, INVALID, MIXER};
}

std::vector<Gain> mixerGains() {
    return {
        mixerWord(true, 0, "FirstOfGps"),          mixerWord(true, 1, "SecondOfGps"),
        mixerWord(true, 2, "ThirdOfGps"),          mixerWord(true, 3, "FourthOfGps"),
        mixerWord(false, 0, "FirstOfAlternative"), mixerWord(false, 1, "SecondOfAlternative"),
        mixerWord(false, 2, "ThirdOfAlternative"), mixerWord(false, 3, "FourthOfAlternative"),
    };
}

INSTANTIATE_TEST_SUITE_P(Volume, GainRange, ::testing::ValuesIn(volumeGains()), TEST_NAME);
INSTANTIATE_TEST_SUITE_P(Track, GainRange, ::testing::ValuesIn(trackChannelGains()), TEST_NAME);
INSTANTIATE_TEST_SUITE_P(Mixer, GainRange, ::testing::ValuesIn(mixerGains()), TEST_NAME);

TEST(TrackGains, AreRefusedForTheFirstBadGain) {
    ScriptedServer server;
    ClientVolumeSetting volume;
    const LogCapture log;
    float gains[8] = {0, 0, 30, 40, 0, 0, 0, NO_NUMBER};
    EXPECT_EQ(volume.setTrackChannelGain("auxiliary", "radio", gains), REFUSED);
    EXPECT_TRUE(logged(log, ERROR, "ClientVolumeSetting", "setTrackChannelGain",
                       "invalid channelGain[2]:30.0\n"));
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
