// SPDX-License-Identifier: Apache-2.0
//
// Operations that take steps or dB, called with numbers as programs write them.
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/support/Logged.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

namespace cabinaudio::test {
namespace {

constexpr int NOT_SENT = 1;  // there is no server

std::string steps(unsigned char volume) {
    return "steps " + std::to_string(volume);
}
std::string decibels(float dB) {
    return "dB " + std::to_string(dB);
}

/// Reports the virtual operation that was reached, and its arguments.
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

class Volume : public ::testing::Test {
protected:
    template <typename Number>
    std::string setMaster(Number number) {
        EXPECT_EQ(volume.setMasterVolume(number), 7);
        return recorder.last;
    }
    template <typename Number>
    std::string setByStreamType(Number number) {
        EXPECT_EQ(volume.setVolumeByStreamType("music", number), 7);
        return recorder.last;
    }

    Recorder recorder;
    audio::QVAudioSetting::Volume& volume = recorder;
};

TEST_F(Volume, WholeNumberOfAnyTypeMeansSteps) {
    EXPECT_EQ(setMaster(100), "master steps 100");
    EXPECT_EQ(setMaster(0), "master steps 0");
    EXPECT_EQ(setMaster(101U), "master steps 101");
    EXPECT_EQ(setMaster(102L), "master steps 102");
    EXPECT_EQ(setMaster(std::size_t{103}), "master steps 103");
    EXPECT_EQ(setMaster(short{104}), "master steps 104");
    EXPECT_EQ(setMaster(std::uint8_t{105}), "master steps 105");
    volume.setMainAudioDunkingTargetGain(50);
    EXPECT_EQ(recorder.last, "ducking steps 50");
    volume.setSecondAudioVolume(148);
    EXPECT_EQ(recorder.last, "second steps 148");
    volume.setAlterAudioVolume(1);
    EXPECT_EQ(recorder.last, "alternative steps 1");
    volume.setTrackVolume("main", "radio", 120);
    EXPECT_EQ(recorder.last, "main radio steps 120");
}

TEST_F(Volume, FloatingPointNumberMeansDecibels) {
    EXPECT_EQ(setMaster(-10.5F), "master dB -10.500000");
    EXPECT_EQ(setMaster(-10.5), "master dB -10.500000");
    EXPECT_EQ(setMaster(0.0), "master dB 0.000000");
    EXPECT_EQ(setMaster(24.0L), "master dB 24.000000");
    volume.setMainAudioDunkingTargetGain(-3.0);
    EXPECT_EQ(recorder.last, "ducking dB -3.000000");
    volume.setSecondAudioVolume(-103.5);
    EXPECT_EQ(recorder.last, "second dB -103.500000");
    volume.setAlterAudioVolume(-1.0);
    EXPECT_EQ(recorder.last, "alternative dB -1.000000");
    volume.setTrackVolume("alternative", "prompt", -20.0);
    EXPECT_EQ(recorder.last, "alternative prompt dB -20.000000");
}

TEST_F(Volume, WholeNumberOutsideAByteBecomesTheRefusedStep255) {
    for (const long long number :
         {-1LL, -256LL, 256LL, 356LL, 65536LL + 100, (1LL << 32) + 100,
          std::numeric_limits<long long>::min(), std::numeric_limits<long long>::max()}) {
        recorder.last.clear();
        EXPECT_EQ(setMaster(number), "master steps 255") << number;
    }
    recorder.last.clear();
    EXPECT_EQ(setMaster(-100), "master steps 255");
    EXPECT_EQ(setMaster(std::numeric_limits<unsigned long long>::max()), "master steps 255");
    EXPECT_EQ(setMaster(static_cast<signed char>(-1)), "master steps 255");
}

enum ProgramVolume { QUIET = 3, TOO_LOUD = 300 };

TEST_F(Volume, EveryNumberByStreamTypeMeansSteps) {
    EXPECT_EQ(setByStreamType(100), "music steps 100");
    EXPECT_EQ(setByStreamType(101U), "music steps 101");
    EXPECT_EQ(setByStreamType(std::uint8_t{102}), "music steps 102");
    EXPECT_EQ(setByStreamType(103.9), "music steps 103");
    EXPECT_EQ(setByStreamType(104.0F), "music steps 104");
    EXPECT_EQ(setByStreamType(QUIET), "music steps 3");
}

TEST(VolumeByStreamType, NumberOutsideAByteBecomesTheRefusedStep255) {
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
TEST(VolumeClient, RefusesNumbersOutsideTheirRangeWithOneLine) {
    ClientVolumeSetting volume;
    LogCapture log;
    const auto expectRefused = [&log](const char* function, int result) {
        EXPECT_EQ(result, AUDIO_BAD_VALUE) << function;
        EXPECT_TRUE(logged(log, ERROR, "ClientVolumeSetting", function, "invalid input param\n"));
        log.clear();
    };
    expectRefused("setMasterVolume", volume.setMasterVolume(149));
    expectRefused("setMasterVolume", volume.setMasterVolume(256 + 100));
    expectRefused("setMasterVolume", volume.setMasterVolume(-1));
    expectRefused("setMasterVolume", volume.setMasterVolume(24.5));
    expectRefused("setMasterVolume", volume.setMasterVolume(std::numeric_limits<double>::max()));
    expectRefused("setMasterVolume",
                  volume.setMasterVolume(std::numeric_limits<double>::quiet_NaN()));
    expectRefused("setMainAudioDunkingTargetGain", volume.setMainAudioDunkingTargetGain(101));
    expectRefused("setMainAudioDunkingTargetGain", volume.setMainAudioDunkingTargetGain(0.5));
    expectRefused("setSecondAudioVolume", volume.setSecondAudioVolume(-1));
    expectRefused("setAlterAudioVolume", volume.setAlterAudioVolume(1000));
    expectRefused("setTrackVolume", volume.setTrackVolume("main", "radio", 149));
    expectRefused("setTrackVolume", volume.setTrackVolume("main", "radio", -104.0));
}

TEST(VolumeClient, RefusesStepsByStreamTypeOutsideTheirRange) {
    ClientVolumeSetting volume;
    LogCapture log;
    EXPECT_EQ(volume.setVolumeByStreamType("music", 149), AUDIO_BAD_VALUE);
    EXPECT_TRUE(logged(log, ERROR, "ClientVolumeSetting", "setVolumeByStreamType",
                       "Invalid input param(volume:149, streamtype:music)\n"));
    for (const int volumeOfNoByte : {255, 256, 300, 356, -1}) {
        log.clear();
        EXPECT_EQ(volume.setVolumeByStreamType("music", volumeOfNoByte), AUDIO_BAD_VALUE);
        EXPECT_TRUE(logged(log, ERROR, "ClientVolumeSetting", "setVolumeByStreamType",
                           "Invalid input param(volume:255, streamtype:music)\n"))
            << volumeOfNoByte;
    }
    EXPECT_EQ(volume.setVolumeByStreamType("music", 148), NOT_SENT);
}

TEST(VolumeClient, TakesNumbersInsideTheirRange) {
    ClientVolumeSetting volume;
    LogCapture log;
    EXPECT_EQ(volume.setMasterVolume(148), NOT_SENT);
    EXPECT_EQ(volume.setMasterVolume(-103.5), NOT_SENT);
    EXPECT_EQ(volume.setMainAudioDunkingTargetGain(100), NOT_SENT);
    EXPECT_EQ(volume.setSecondAudioVolume(0), NOT_SENT);
    EXPECT_EQ(volume.setAlterAudioVolume(24.0), NOT_SENT);
    EXPECT_EQ(volume.setTrackVolume("main", "radio", 0), NOT_SENT);
    EXPECT_TRUE(logged(log, ERROR, "invalid input param\n", 0));
}

TEST(VolumeClient, TakesAPathNumberForNoTag) {
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
    EXPECT_TRUE(logged(log, ERROR, "Invalid param, tag=NULL.\n", 0));
}

TEST(VolumeClient, RefusesAnUnknownTag) {
    ClientVolumeSetting volume;
    LogCapture log;
    EXPECT_EQ(volume.mute("main", true), NOT_SENT);
    EXPECT_EQ(volume.mute("Main", true), AUDIO_BAD_VALUE);
    EXPECT_EQ(volume.demute(nullptr, true), AUDIO_BAD_VALUE);
    EXPECT_TRUE(logged(log, ERROR, "ClientVolumeSetting", "mute", "Invalid param, tag=Main.\n"));
    EXPECT_TRUE(logged(log, ERROR, "ClientVolumeSetting", "demute", "Invalid param, tag=NULL.\n"));
}

template <typename Number, typename = void>
constexpr bool IS_VOLUME = false;
template <typename Number>
constexpr bool
    IS_VOLUME<Number, std::void_t<decltype(std::declval<ClientVolumeSetting&>().setMasterVolume(
                          std::declval<Number>()))>> = true;

static_assert(IS_VOLUME<int> && IS_VOLUME<double> && IS_VOLUME<unsigned long long>);
// Other types do not silently become a step or a gain.
static_assert(!IS_VOLUME<bool>);
static_assert(!IS_VOLUME<audio::audio_channel_idx_e>);
static_assert(!IS_VOLUME<const char*>);

template <typename Number, typename = void>
constexpr bool IS_STEP = false;
template <typename Number>
constexpr bool
    IS_STEP<Number, std::void_t<decltype(std::declval<ClientVolumeSetting&>().setVolumeByStreamType(
                        "", std::declval<Number>()))>> = true;

static_assert(IS_STEP<int> && IS_STEP<double> && IS_STEP<unsigned char>);
static_assert(!IS_STEP<bool> && !IS_STEP<const char*> && !IS_STEP<std::nullptr_t>);
using audio::QVAudioSetting::stepOf;
static_assert(stepOf(148) == 148 && stepOf(300) == 255 && stepOf(-1) == 255);
static_assert(stepOf(147.5) == 147 && stepOf(256.0) == 255 && stepOf(-0.5) == 255);

}  // namespace
}  // namespace cabinaudio::test
