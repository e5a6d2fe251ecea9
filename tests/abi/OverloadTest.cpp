// SPDX-License-Identifier: Apache-2.0
//
// Operations that take steps or dB, called with numbers as programs write them.
#include <cabinaudio/client/ClientVolumeSetting.h>

#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using cabinaudio::test::LogCapture;

constexpr int REFUSED = -3000;
constexpr int NOT_SENT = 1;  // there is no server

std::string steps(unsigned char volume) {
    return "steps " + std::to_string(volume);
}
std::string decibels(float dB) {
    return "dB " + std::to_string(dB);
}

/// Says which of the virtual operations was reached, and with what.
class Recorder : public ClientVolumeSetting {
public:
    using ClientVolumeSetting::setAlterAudioVolume;
    using ClientVolumeSetting::setMainAudioDunkingTargetGain;
    using ClientVolumeSetting::setMasterVolume;
    using ClientVolumeSetting::setSecondAudioVolume;
    using ClientVolumeSetting::setTrackVolume;
    using ClientVolumeSetting::setVolumeByStreamType;

    int setMainAudioDunkingTargetGain(unsigned char volume) override {
        return got("ducking " + steps(volume));
    }
    int setMainAudioDunkingTargetGain(float dB) override { return got("ducking " + decibels(dB)); }
    int setMasterVolume(unsigned char volume) override { return got("master " + steps(volume)); }
    int setMasterVolume(float dB) override { return got("master " + decibels(dB)); }
    int setTrackVolume(const char* tag, const char* name, unsigned char volume) override {
        return got(std::string(tag) + " " + name + " " + steps(volume));
    }
    int setTrackVolume(const char* tag, const char* name, float dB) override {
        return got(std::string(tag) + " " + name + " " + decibels(dB));
    }
    int setSecondAudioVolume(unsigned char volume) override {
        return got("second " + steps(volume));
    }
    int setSecondAudioVolume(float dB) override { return got("second " + decibels(dB)); }
    int setAlterAudioVolume(unsigned char volume) override {
        return got("alternative " + steps(volume));
    }
    int setAlterAudioVolume(float dB) override { return got("alternative " + decibels(dB)); }
    int setVolumeByStreamType(const char* type, unsigned char volume) override {
        return got(std::string(type) + " " + steps(volume));
    }

    std::string last;

private:
    int got(std::string what) {
        last = std::move(what);
        return 7;
    }
};

TEST(AWholeNumber, MeansStepsWhateverItsType) {
    Recorder recorder;
    audio::QVAudioSetting::Volume& volume = recorder;
    EXPECT_EQ(volume.setMasterVolume(100), 7);
    EXPECT_EQ(recorder.last, "master steps 100");
    volume.setMasterVolume(0);
    EXPECT_EQ(recorder.last, "master steps 0");
    volume.setMasterVolume(101U);
    EXPECT_EQ(recorder.last, "master steps 101");
    volume.setMasterVolume(102L);
    EXPECT_EQ(recorder.last, "master steps 102");
    volume.setMasterVolume(std::size_t{103});
    EXPECT_EQ(recorder.last, "master steps 103");
    volume.setMasterVolume(short{104});
    EXPECT_EQ(recorder.last, "master steps 104");
    volume.setMasterVolume(std::uint8_t{105});
    EXPECT_EQ(recorder.last, "master steps 105");
    volume.setMainAudioDunkingTargetGain(50);
    EXPECT_EQ(recorder.last, "ducking steps 50");
    volume.setSecondAudioVolume(148);
    EXPECT_EQ(recorder.last, "second steps 148");
    volume.setAlterAudioVolume(1);
    EXPECT_EQ(recorder.last, "alternative steps 1");
    volume.setTrackVolume("main", "radio", 120);
    EXPECT_EQ(recorder.last, "main radio steps 120");
}

TEST(AnyOtherNumber, MeansDecibels) {
    Recorder recorder;
    audio::QVAudioSetting::Volume& volume = recorder;
    volume.setMasterVolume(-10.5F);
    EXPECT_EQ(recorder.last, "master dB -10.500000");
    EXPECT_EQ(volume.setMasterVolume(-10.5), 7);
    EXPECT_EQ(recorder.last, "master dB -10.500000");
    volume.setMasterVolume(0.0);
    EXPECT_EQ(recorder.last, "master dB 0.000000");
    volume.setMasterVolume(24.0L);
    EXPECT_EQ(recorder.last, "master dB 24.000000");
    volume.setMainAudioDunkingTargetGain(-3.0);
    EXPECT_EQ(recorder.last, "ducking dB -3.000000");
    volume.setSecondAudioVolume(-103.5);
    EXPECT_EQ(recorder.last, "second dB -103.500000");
    volume.setAlterAudioVolume(-1.0);
    EXPECT_EQ(recorder.last, "alternative dB -1.000000");
    volume.setTrackVolume("alternative", "prompt", -20.0);
    EXPECT_EQ(recorder.last, "alternative prompt dB -20.000000");
}

TEST(AWholeNumber, ThatIsNoByteBecomesOneThatIsRefused) {
    Recorder volume;
    for (const long long number :
         {-1LL, -256LL, 256LL, 356LL, 65536LL + 100, (1LL << 32) + 100,
          std::numeric_limits<long long>::min(), std::numeric_limits<long long>::max()}) {
        volume.last.clear();
        volume.setMasterVolume(number);
        EXPECT_EQ(volume.last, "master steps 255") << number;
    }
    volume.setMasterVolume(-100);
    EXPECT_EQ(volume.last, "master steps 255");
    volume.setMasterVolume(std::numeric_limits<unsigned long long>::max());
    EXPECT_EQ(volume.last, "master steps 255");
    volume.setMasterVolume(static_cast<signed char>(-1));
    EXPECT_EQ(volume.last, "master steps 255");
}

enum VolumeOfAProgram { QUIET = 3, TOO_LOUD = 300 };

TEST(VolumeByStreamType, TakesEveryNumberForSteps) {
    Recorder recorder;
    audio::QVAudioSetting::Volume& volume = recorder;
    EXPECT_EQ(volume.setVolumeByStreamType("music", 100), 7);
    EXPECT_EQ(recorder.last, "music steps 100");
    volume.setVolumeByStreamType("music", 101U);
    EXPECT_EQ(recorder.last, "music steps 101");
    volume.setVolumeByStreamType("music", std::uint8_t{102});
    EXPECT_EQ(recorder.last, "music steps 102");
    volume.setVolumeByStreamType("music", 103.9);
    EXPECT_EQ(recorder.last, "music steps 103");
    volume.setVolumeByStreamType("music", 104.0F);
    EXPECT_EQ(recorder.last, "music steps 104");
    volume.setVolumeByStreamType("music", QUIET);
    EXPECT_EQ(recorder.last, "music steps 3");
}

TEST(VolumeByStreamType, NeverNarrowsANumberToAnotherStep) {
    Recorder recorder;
    const auto stepsOf = [&recorder](auto number) {
        recorder.last.clear();
        recorder.setVolumeByStreamType("music", number);
        return recorder.last;
    };
    EXPECT_EQ(stepsOf(300), "music steps 255");
    EXPECT_EQ(stepsOf(-1), "music steps 255");
    EXPECT_EQ(stepsOf((1LL << 32) + 100), "music steps 255");
    EXPECT_EQ(stepsOf(std::numeric_limits<long long>::min()), "music steps 255");
    EXPECT_EQ(stepsOf(static_cast<signed char>(-1)), "music steps 255");
    EXPECT_EQ(stepsOf(TOO_LOUD), "music steps 255");
    EXPECT_EQ(stepsOf(256.0F), "music steps 255");
    EXPECT_EQ(stepsOf(-10.5), "music steps 255");
    EXPECT_EQ(stepsOf(std::numeric_limits<double>::quiet_NaN()), "music steps 255");
}

// The same on the client's own class, whose overriding operations would hide those of its base.
TEST(AVolumeClient, RefusesNumbersOutsideTheirRangeWithItsOwnLine) {
    ClientVolumeSetting volume;
    LogCapture log;
    const auto refused = [&log](const char* function) {
        const auto lines = log.count(6, "ClientVolumeSetting", function, "invalid input param\n");
        log.clear();
        return lines;
    };
    EXPECT_EQ(volume.setMasterVolume(149), REFUSED);
    EXPECT_EQ(refused("setMasterVolume"), 1U);
    EXPECT_EQ(volume.setMasterVolume(256 + 100), REFUSED);
    EXPECT_EQ(refused("setMasterVolume"), 1U);
    EXPECT_EQ(volume.setMasterVolume(-1), REFUSED);
    EXPECT_EQ(refused("setMasterVolume"), 1U);
    EXPECT_EQ(volume.setMasterVolume(24.5), REFUSED);
    EXPECT_EQ(refused("setMasterVolume"), 1U);
    EXPECT_EQ(volume.setMasterVolume(std::numeric_limits<double>::max()), REFUSED);
    EXPECT_EQ(refused("setMasterVolume"), 1U);
    EXPECT_EQ(volume.setMasterVolume(std::numeric_limits<double>::quiet_NaN()), REFUSED);
    EXPECT_EQ(refused("setMasterVolume"), 1U);
    EXPECT_EQ(volume.setMainAudioDunkingTargetGain(101), REFUSED);
    EXPECT_EQ(refused("setMainAudioDunkingTargetGain"), 1U);
    EXPECT_EQ(volume.setMainAudioDunkingTargetGain(0.5), REFUSED);
    EXPECT_EQ(refused("setMainAudioDunkingTargetGain"), 1U);
    EXPECT_EQ(volume.setSecondAudioVolume(-1), REFUSED);
    EXPECT_EQ(refused("setSecondAudioVolume"), 1U);
    EXPECT_EQ(volume.setAlterAudioVolume(1000), REFUSED);
    EXPECT_EQ(refused("setAlterAudioVolume"), 1U);
    EXPECT_EQ(volume.setTrackVolume("main", "radio", 149), REFUSED);
    EXPECT_EQ(refused("setTrackVolume"), 1U);
    EXPECT_EQ(volume.setTrackVolume("main", "radio", -104.0), REFUSED);
    EXPECT_EQ(refused("setTrackVolume"), 1U);
}

TEST(AVolumeClient, RefusesStepsByStreamTypeOutsideTheirRange) {
    ClientVolumeSetting volume;
    LogCapture log;
    EXPECT_EQ(volume.setVolumeByStreamType("music", 149), REFUSED);
    EXPECT_EQ(log.count(6, "ClientVolumeSetting", "setVolumeByStreamType",
                        "Invalid input param(volume:149, streamtype:music)\n"),
              1U)
        << log.dump();
    for (const int volumeOfNoByte : {255, 256, 300, 356, -1}) {
        log.clear();
        EXPECT_EQ(volume.setVolumeByStreamType("music", volumeOfNoByte), REFUSED);
        EXPECT_EQ(log.count(6, "ClientVolumeSetting", "setVolumeByStreamType",
                            "Invalid input param(volume:255, streamtype:music)\n"),
                  1U)
            << volumeOfNoByte << log.dump();
    }
    EXPECT_EQ(volume.setVolumeByStreamType("music", 148), NOT_SENT);
}

TEST(AVolumeClient, TakesNumbersInsideTheirRange) {
    ClientVolumeSetting volume;
    LogCapture log;
    EXPECT_EQ(volume.setMasterVolume(148), NOT_SENT);
    EXPECT_EQ(volume.setMasterVolume(-103.5), NOT_SENT);
    EXPECT_EQ(volume.setMainAudioDunkingTargetGain(100), NOT_SENT);
    EXPECT_EQ(volume.setSecondAudioVolume(0), NOT_SENT);
    EXPECT_EQ(volume.setAlterAudioVolume(24.0), NOT_SENT);
    EXPECT_EQ(volume.setTrackVolume("main", "radio", 0), NOT_SENT);
    EXPECT_EQ(log.count(6, "invalid input param\n"), 0U) << log.dump();
}

TEST(APathsNumber, IsNoTag) {
    ClientVolumeSetting volume;
    LogCapture log;
    EXPECT_EQ(volume.mute(0, true), NOT_SENT);
    EXPECT_EQ(volume.mute(1, true), NOT_SENT);
    EXPECT_EQ(volume.mute(1U, true), NOT_SENT);
    EXPECT_EQ(volume.mute(audio::AUDIO_OUT_PATH_NONE, true), NOT_SENT);
    EXPECT_EQ(volume.demute(0, true), NOT_SENT);
    EXPECT_EQ(volume.demute(8, false), NOT_SENT);
    EXPECT_EQ(volume.demute(audio::AUDIO_OUT_PATH_MAIN, true), NOT_SENT);
    bool muted = false;
    EXPECT_EQ(volume.getMuteState(audio::AUDIO_OUT_PATH_NONE, muted), NOT_SENT);
    EXPECT_EQ(log.count(6, "Invalid param, tag=NULL.\n"), 0U) << log.dump();
}

TEST(ATag, IsNoPathsNumber) {
    ClientVolumeSetting volume;
    LogCapture log;
    EXPECT_EQ(volume.mute("main", true), NOT_SENT);
    EXPECT_EQ(volume.mute("Main", true), REFUSED);
    EXPECT_EQ(volume.demute(nullptr, true), REFUSED);
    EXPECT_EQ(log.count(6, "ClientVolumeSetting", "mute", "Invalid param, tag=Main.\n"), 1U);
    EXPECT_EQ(log.count(6, "ClientVolumeSetting", "demute", "Invalid param, tag=NULL.\n"), 1U)
        << log.dump();
}

template <typename Number, typename = void>
constexpr bool isVolume = false;
template <typename Number>
constexpr bool
    isVolume<Number, std::void_t<decltype(std::declval<ClientVolumeSetting&>().setMasterVolume(
                         std::declval<Number>()))>> = true;

static_assert(isVolume<int> && isVolume<double> && isVolume<unsigned long long>);
// What is neither a step nor a gain does not become one silently.
static_assert(!isVolume<bool>);
static_assert(!isVolume<audio::audio_channel_idx_e>);
static_assert(!isVolume<const char*>);

template <typename Number, typename = void>
constexpr bool isStep = false;
template <typename Number>
constexpr bool
    isStep<Number, std::void_t<decltype(std::declval<ClientVolumeSetting&>().setVolumeByStreamType(
                       "", std::declval<Number>()))>> = true;

static_assert(isStep<int> && isStep<double> && isStep<unsigned char>);
static_assert(!isStep<bool> && !isStep<const char*> && !isStep<std::nullptr_t>);
using audio::QVAudioSetting::stepOf;
static_assert(stepOf(148) == 148 && stepOf(300) == 255 && stepOf(-1) == 255);
static_assert(stepOf(147.5) == 147 && stepOf(256.0) == 255 && stepOf(-0.5) == 255);

}  // namespace
