// SPDX-License-Identifier: Apache-2.0
//
// Programs built with other compilers call the operations of the settings by their slots.

#include "tests/abi/Slots.h"
#include "tests/support/Logged.h"
#include "tests/support/SettingSlots.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

/// The listed operations with the slots that the compiler calls them by.
template <typename... Listed>
std::vector<Operation> compiled(slots::OperationList<Listed...>) {
    return {operation<Listed::SLOT, decltype(Listed::MEMBER), Listed::MEMBER>()...};
}

template <typename Setting>
class SettingTable : public ::testing::Test {
protected:
    using Listed = slots::Operations<Setting>;

    static void expectOperations() {
        expectSlots(compiled(typename Listed::All()), Listed::DESTRUCTORS);
    }
};

using EverySetting = ::testing::Types<ClientVolumeSetting, ClientSourceSetting, ClientAppSetting,
                                      ClientMixerSetting, ClientAudioRecordControl>;
TYPED_TEST_SUITE(SettingTable, EverySetting);

TYPED_TEST(SettingTable, HasEachOperationInItsSlot) {
    TestFixture::expectOperations();
}

TYPED_TEST(SettingTable, HasItsDestructorsSideBySide) {
    TestFixture::expectOperations();
    if (this->HasFailure()) return;
    expectDestructorsSideBySide<TypeParam>(TestFixture::Listed::DESTRUCTORS);
}

// The interfaces are the only base, at the beginning: one pointer serves all of them.
static_assert(sizeof(Recording<ClientVolumeSetting>) == sizeof(ClientVolumeSetting));
static_assert(sizeof(Recording<ClientSourceSetting>) == sizeof(ClientSourceSetting));

TEST(SettingInterface, LiesAtTheAddressOfItsClient) {
    ClientVolumeSetting volume;
    ClientSourceSetting source;
    ClientAppSetting app;
    ClientMixerSetting mixer;
    ClientAudioRecordControl record;
    EXPECT_EQ(static_cast<void*>(static_cast<audio::QVAudioSetting::Volume*>(&volume)), &volume);
    EXPECT_EQ(static_cast<void*>(static_cast<audio::QVAudioSetting::Source*>(&source)), &source);
    EXPECT_EQ(static_cast<void*>(static_cast<AudioSourceSetting*>(&source)), &source);
    EXPECT_EQ(static_cast<void*>(static_cast<audio::QVAudioSetting::App*>(&app)), &app);
    EXPECT_EQ(static_cast<void*>(static_cast<audio::QVAudioSetting::Mixer*>(&mixer)), &mixer);
    EXPECT_EQ(
        static_cast<void*>(static_cast<audio::QVAudioRecordControl::AudioRecordControl*>(&record)),
        &record);
}

// The tables of the library itself, not of this test's compiler: operations that log their name
// without a server, because they have no effect or refuse their arguments. All arguments are null
// pointers; no operation here takes a floating-point argument.

struct CallBySlot {
    std::size_t slot;
    const char* operation;
    const char* line;  // empty: the line of an operation without effect
    int result = 0;
};

constexpr int REFUSED = -3000;

using WithPointers = int(void*, void*, void*, void*, void*);

void expectLines(void* object, const char* file, const std::vector<CallBySlot>& calls) {
    for (const CallBySlot& call : calls) {
        const std::string line =
            *call.line != '\0' ? call.line
                               : std::string("Deprecated API[") + call.operation + "] is called. ";
        const int priority = *call.line != '\0' ? 6 : 5;
        LogCapture log;
        EXPECT_EQ(
            (slot<WithPointers>(object, call.slot)(object, nullptr, nullptr, nullptr, nullptr)),
            call.result)
            << "slot " << call.slot;
        EXPECT_TRUE(logged(log, priority, file, call.operation, line + "\n"))
            << "slot " << call.slot;
    }
}

TEST(VolumeSettingInTheLibrary, AnswersCallsBySlot) {
    const char* const invalid = "invalid input param";
    const char* const noTag = "Invalid param, tag=NULL.";
    ClientVolumeSetting volume;
    expectLines(
        &volume, "ClientVolumeSetting",
        {{5, "getMasterVolume", invalid, REFUSED},
         {6, "getMasterVolume", invalid, REFUSED},
         {7, "setChannelGain", invalid, REFUSED},
         {9, "getChannelGain", invalid, REFUSED},
         {10, "getChannelGain", invalid, REFUSED},
         {11, "setTrackVolume", invalid, REFUSED},
         {13, "getTrackVolume", invalid, REFUSED},
         {14, "getTrackVolume", invalid, REFUSED},
         {16, "getSourceLevel", ""},
         {17, "mute", noTag, REFUSED},
         {18, "demute", noTag, REFUSED},
         {19, "setFadeBalance", "Invalid param, stepMax=0, balance=0, fade=0.", REFUSED},
         {29, "getSecondAudioVolume", invalid, REFUSED},
         {30, "getSecondAudioVolume", invalid, REFUSED},
         {33, "getAlterAudioVolume", invalid, REFUSED},
         {34, "getAlterAudioVolume", invalid, REFUSED},
         {35, "getUpLinkGain", invalid, REFUSED},
         {36, "getMuteState", noTag, REFUSED},
         {37, "setVolumeByStreamType", "Invalid input param(volume:0, streamtype:NULL)", REFUSED},
         {38, "getVolumeByStreamType", "Invalid input param(streamtype:NULL)", REFUSED},
         {44, "getGainByStreamType", "Invalid input param(streamtype:NULL)", REFUSED},
         {47, "setTrackChannelGain",
          "input tag is bad param, only support 'auxiliary', input tag:NULL ", REFUSED}});
}

TEST(SourceSettingInTheLibrary, AnswersCallsBySlot) {
    const char* const badName = "bad source name";
    ClientSourceSetting source;
    expectLines(&source, "ClientSourceSetting",
                {{0, "setOutPutSource", badName, REFUSED},
                 {2, "getActiveTracksName", "tag is NULL", REFUSED},
                 {3, "getTrackStreamType", "tag is NULL", REFUSED},
                 {4, "setInputDestination", badName, REFUSED},
                 {6, "dumpOutPutSourceList", badName, REFUSED},
                 {7, "dumpInputDestinationList", badName, REFUSED},
                 {9, "getAdcMuxPin", "pin is null", REFUSED},  // by way of slot 39
                 {10, "setExtAdcEnable", ""},
                 {11, "setDacOutPutMapping", "tbl is null", REFUSED},
                 {12, "getDacOutPutMapping", "tbl is null", REFUSED},
                 {13, "setI2sOutPutMapping", "tbl is null", REFUSED},
                 {14, "getI2sOutPutMapping", "tbl is null", REFUSED},
                 {17, "setMainAudioSpeakerTestPattern", " invalid frequency(0)", REFUSED},
                 {18, "configurePcmHwInterface", "cfg is null", REFUSED},
                 {21, "getActivedSourceNumber", badName, REFUSED},
                 {24, "setAdcPrcMode", ""},
                 {25, "setI2sFormatAndConfig", "dcp is null", REFUSED},
                 {26, "setAdcPinIntoGPIO", ""},
                 {28, "getHWSignalEnergy", "energy is null", REFUSED},
                 {29, "setAlterLatency", ""},
                 {39, "getAdcMuxPin", "pin is null", REFUSED},
                 {40, "getOutputTrackInfo", "input param error", REFUSED}});
}

TEST(SourceSettingInTheLibrary, AnswersNameGettersBySlot) {
    using Getter = const char*(void*, const char*);
    ClientSourceSetting source;
    LogCapture log;
    EXPECT_EQ(slot<Getter>(&source, 1)(&source, nullptr), nullptr);
    EXPECT_TRUE(logged(log, ERROR, "ClientSourceSetting", "getOutPutSource", "bad source name\n"));
    EXPECT_EQ(slot<Getter>(&source, 5)(&source, "main"), nullptr);
    EXPECT_TRUE(logged(log, ERROR, "ClientSourceSetting", "getInputDestination",
                       "input source tag only support:uplink\n"));
}

TEST(AppSettingInTheLibrary, AnswersCallsBySlot) {
    const char* const invalid = "invalid input param";
    const char* const nullRecord = "Invalid params, param=0.";
    ClientAppSetting app;
    expectLines(&app, "ClientAppSetting",
                {{0, "setFilter", ""},
                 {1, "getFilter", ""},
                 {2, "setBassTreble", ""},
                 {3, "getBassTreble", ""},
                 {4, "setLoudness", ""},
                 {5, "setLoudness", ""},
                 {6, "getLoudness", ""},
                 {7, "setEqualizer", ""},
                 {8, "getEqualizer", ""},
                 {9, "getEqualizerQValueTable", ""},
                 {10, "getEqualizerCfTable", ""},
                 {11, "getEqualizerSpectrum", nullRecord, REFUSED},
                 {12, "enableDps", ""},
                 {13, "disableDps", ""},
                 {14, "setDpsProfile", ""},
                 {15, "enableDpsStereoCtrl", ""},
                 {16, "disableDpsStereoCtrl", ""},
                 {18, "getDpsUserGain", ""},
                 {19, "setDpsUserEq", ""},
                 {20, "getDpsUserEq", ""},
                 {21, "setQualityOfSound", ""},
                 {22, "getQualityOfSound", ""},
                 {24, "getSpeakerDelay", invalid, REFUSED},
                 {26, "getQualityOfAEC", invalid, REFUSED},
                 {27, "setUplinkConfig", ""},
                 {28, "setEqualizerType", ""},
                 {31, "setEqualizer", nullRecord, REFUSED},
                 {32, "getEqualizer", nullRecord, REFUSED},
                 {35, "setSurround", ""},
                 {40, "setNLPConfig", invalid, REFUSED},
                 {41, "getNLPConfig", invalid, REFUSED},
                 {42, "setHandsfreeEQ", invalid, REFUSED},
                 {43, "getHandsfreeEQ", invalid, REFUSED},
                 {44, "setDACGainControl", invalid, REFUSED},
                 {45, "setDACSampleRateCtrl", ""},
                 {46, "getOutPutDataEnergy", invalid, REFUSED}});
}

TEST(MixerSettingInTheLibrary, AnswersCallsBySlot) {
    const char* const invalid = "invalid input param";
    ClientMixerSetting mixer;
    expectLines(&mixer, "ClientMixerSetting",
                {{2, "setGpsMixerGain", invalid, REFUSED},
                 {3, "setGpsMixerGain", invalid, REFUSED},
                 {4, "setEffectMixerGain", ""},
                 {5, "setEffectMixerGain", ""},
                 {6, "setAlternativeAudioMixerGain", invalid, REFUSED},
                 {7, "setAlternativeAudioMixerGain", invalid, REFUSED},
                 {8, "mixRearAudioWithFrontAudio", ""}});
}

TEST(RecordControlInTheLibrary, AnswersCallsBySlot) {
    const char* const invalid = "invalid input param";
    ClientAudioRecordControl record;
    expectLines(&record, "ClientRecordControl",
                {{0, "set", invalid, REFUSED}, {1, "get", invalid, REFUSED}});
}

}  // namespace
}  // namespace cabinaudio::test
