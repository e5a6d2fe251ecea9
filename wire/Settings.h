// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>

#include "wire/SettingRecords.h"
#include "wire/Stream.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

// Catalogue of all operations of the settings connections. The library looks operations up by
// function id at compile time; nothing of the catalogue gets into its code. Programs that need all
// operations at run time iterate over them with forEach() or use a table.
namespace cabinaudio::wire {

// ---- Function ids, counted per connection type --------------------------------------------------

/// Function ids on a version connection.
enum class VersionFunction : std::uint32_t {
    GetServerVersions = 0,
};

/// Function ids on a mixer connection.
enum class MixerFunction : std::uint32_t {
    SetUpMixMode = 2,
    MixExtGps = 3,
    SetGpsGain = 4,
    SetAlternativeGain = 7,
    SetGpsMatrix = 8,
    SetAlternativeMatrix = 10,
    MixAlternativeInHardware = 11,
    GetUpMixMode = 12,
};

/// Function ids on a volume connection.
enum class VolumeFunction : std::uint32_t {
    SetDuckingMode = 2,
    SetDuckingTargetStep = 3,
    SetMasterStep = 4,
    GetMasterStep = 5,
    SetChannelStep = 6,
    GetChannelStep = 7,
    Mute = 8,
    Demute = 9,
    SetAdcPgaGain = 10,
    GetAdcPgaGain = 11,
    SetAdcOpGain = 12,
    GetAdcOpGain = 13,
    SetUpLinkGain = 14,
    GetUpLinkGain = 15,
    SetSecondStep = 16,
    GetSecondStep = 17,
    SetTrackStep = 18,
    GetTrackStep = 19,
    SetMasterGain = 20,
    GetMasterGain = 21,
    SetSecondGain = 22,
    GetSecondGain = 23,
    SetTrackGain = 24,
    GetTrackGain = 25,
    SetDuckingTargetGain = 26,
    SetChannelGain = 27,
    GetChannelGain = 28,
    SetAlternativeStep = 29,
    GetAlternativeStep = 30,
    SetAlternativeGain = 31,
    GetAlternativeGain = 32,
    GetMuteState = 33,
    SetStreamTypeStep = 34,
    GetStreamTypeStep = 35,
    GetStreamTypes = 36,
    Duck = 37,
    Unduck = 38,
    SetStreamTypeGain = 39,
    GetStreamTypeGain = 40,
    StartMicCalibration = 41,
    GetMicCalibration = 42,
    SetTrackChannelGains = 43,
    SetMasterRamp = 44,
    GetMasterRamp = 45,
};

/// Function ids on a source connection.
enum class SourceFunction : std::uint32_t {
    SelectSource = 2,
    SetFrontState = 3,
    SetRearState = 4,
    SetAdcMuxPin = 5,
    GetAdcMuxPin = 6,
    SetDacMapping = 8,
    GetDacMapping = 9,
    SetI2sMapping = 10,
    GetI2sMapping = 11,
    SetAdcLeftRightSwitch = 12,
    SetOutputSource = 14,
    SetInputDestination = 15,
    DumpOutputSources = 16,
    DumpInputDestinations = 17,
    SetSpeakerPattern = 18,
    SetSpeakerTone = 19,
    ConfigurePcmInterface = 20,
    EnablePcmInterface = 21,
    SetSpeakerOutput = 22,
    GetSpeakerOutput = 23,
    GetOutputSource = 24,
    GetInputDestination = 25,
    GetSourceNumber = 26,
    SetHandsfreeDelay = 27,
    SetSampleRateCapability = 28,
    SetI2sFormat = 30,
    GetOutputTrackInfo = 32,
    SetAutoRamp = 34,
    GetTrackStreamType = 35,
    GetActiveTrackNames = 36,
    GetSignalEnergy = 37,
    GetActiveTracks = 38,
};

/// Function ids on an application-setting connection.
enum class AppFunction : std::uint32_t {
    GetSpectrum = 11,
    SetSpeakerDelay = 22,
    GetSpeakerDelay = 23,
    SetEchoQuality = 24,
    GetEchoQuality = 25,
    EnableBypass = 29,
    DisableBypass = 30,
    GetOutputEnergy = 34,
    SetEqualizer = 35,
    GetEqualizer = 36,
    SetDelayEstimation = 37,
    GetDelayEstimation = 38,
    SetDuplex = 40,
    GetDuplex = 41,
    SetNoiseReduction = 42,
    GetNoiseReduction = 43,
    SetNonLinear = 44,
    GetNonLinear = 45,
    SetHandsfreeEqualizer = 46,
    GetHandsfreeEqualizer = 47,
    SetDacGain = 48,
    SetReverbMode = 50,
    SetEffectEnabled = 4096,
    GetEffectEnabled = 4097,
    SetEffectParameter = 4098,
    GetEffectParameter = 4099,
};

/// Function ids on a record-control connection.
enum class RecordControlFunction : std::uint32_t {
    Set = 0,
    Get = 1,
};

// ---- The catalogue ------------------------------------------------------------------------------

/// The connection type that a kind of function ids belongs to.
constexpr audio_connect_type connectionOf(AppFunction) {
    return AUDIO_CONNECT_APP_SETTING;
}
constexpr audio_connect_type connectionOf(MixerFunction) {
    return AUDIO_CONNECT_MIXER_SETTING;
}
constexpr audio_connect_type connectionOf(SourceFunction) {
    return AUDIO_CONNECT_SOURCE_SETTING;
}
constexpr audio_connect_type connectionOf(VolumeFunction) {
    return AUDIO_CONNECT_VOLUME_SETTING;
}
constexpr audio_connect_type connectionOf(VersionFunction) {
    return AUDIO_CONNECT_VERSION_SETTING;
}
constexpr audio_connect_type connectionOf(RecordControlFunction) {
    return AUDIO_CONNECT_RECORD_CONTROL;
}

/// An operation with its records. EffectRequest and EffectReply are followed by a block.
template <auto FUNCTION, typename RequestRecord, typename ReplyRecord>
struct Setting {
    using Request = RequestRecord;
    using Reply = ReplyRecord;
    static constexpr auto ID = FUNCTION;
    static constexpr audio_connect_type CONNECTION = connectionOf(FUNCTION);

    const char* name;     // of the public operation; overloads share one
    const char* meaning;  // for the documents
    bool hasFlag = true;  // sent under the command word with the flag
};

constexpr bool NO_FLAG = false;

/// The operations of one connection type.
template <typename... Operations>
struct Settings : Operations... {};
template <typename... Operations>
Settings(Operations...) -> Settings<Operations...>;

inline constexpr Settings APP_SETTINGS{
    Setting<AppFunction::GetSpectrum, FunctionRequest, LevelsReply>{"getEqualizerSpectrum",
                                                                    "spectrum of the output"},
    Setting<AppFunction::SetSpeakerDelay, ChannelNumberRequest, StatusReply>{
        "setSpeakerDelay", "delay of loudspeakers, in microseconds"},
    Setting<AppFunction::GetSpeakerDelay, ChannelRequest, DelayReply>{"getSpeakerDelay",
                                                                      "delay of a loudspeaker"},
    Setting<AppFunction::SetEchoQuality, NumberRequest, StatusReply>{
        "setQualityOfAEC", "quality of the echo canceller"},
    Setting<AppFunction::GetEchoQuality, FunctionRequest, NumberReply>{
        "getQualityOfAEC", "quality of the echo canceller"},
    Setting<AppFunction::EnableBypass, FunctionRequest, StatusReply>{"enableByPassMode",
                                                                     "switches bypass on"},
    Setting<AppFunction::DisableBypass, FunctionRequest, StatusReply>{"disableByPassMode",
                                                                      "switches bypass off"},
    Setting<AppFunction::GetOutputEnergy, FunctionRequest, LevelsReply>{"getOutPutDataEnergy",
                                                                        "energy at the outputs"},
    Setting<AppFunction::SetEqualizer, EqualizerRequest, StatusReply>{"setEqualizer",
                                                                      "an equaliser"},
    Setting<AppFunction::GetEqualizer, NumberRequest, EqualizerReply>{
        "getEqualizer", "the equaliser of a selector"},
    Setting<AppFunction::SetDelayEstimation, FunctionRequest, StatusReply>{
        "setDownlinkDelayEstimation", "measures the delay of the downlink"},
    Setting<AppFunction::GetDelayEstimation, FunctionRequest, NumberReply>{
        "getDownlinkDelayEstimation", "delay of the downlink, in ms"},
    Setting<AppFunction::SetDuplex, NumberRequest, StatusReply>{
        "setDuplexOfAEC", "duplex of the echo canceller", NO_FLAG},
    Setting<AppFunction::GetDuplex, FunctionRequest, NumberReply>{
        "getDuplexOfAEC", "duplex of the echo canceller", NO_FLAG},
    Setting<AppFunction::SetNoiseReduction, NumberRequest, StatusReply>{
        "setNRAttenuation", "attenuation of the noise reduction", NO_FLAG},
    Setting<AppFunction::GetNoiseReduction, FunctionRequest, NumberReply>{
        "getNRAttenuation", "attenuation of the noise reduction", NO_FLAG},
    Setting<AppFunction::SetNonLinear, NonLinearRequest, StatusReply>{"setNLPConfig",
                                                                      "non-linear processing"},
    Setting<AppFunction::GetNonLinear, NumberRequest, NonLinearReply>{
        "getNLPConfig", "non-linear processing of a selector"},
    Setting<AppFunction::SetHandsfreeEqualizer, HandsfreeEqualizerRequest, StatusReply>{
        "setHandsfreeEQ", "an equaliser of calls"},
    Setting<AppFunction::GetHandsfreeEqualizer, NumberRequest, HandsfreeEqualizerReply>{
        "getHandsfreeEQ", "the equaliser of calls of a selector"},
    Setting<AppFunction::SetDacGain, NumberRequest, StatusReply>{"setDACGainControl",
                                                                 "gain of the converter"},
    Setting<AppFunction::SetReverbMode, NumberRequest, StatusReply>{"setReverbMode", "reverb mode"},
    Setting<AppFunction::SetEffectEnabled, EffectSwitchRequest, StatusReply>{"setEffectEnabled",
                                                                             "switches an effect"},
    Setting<AppFunction::GetEffectEnabled, TwoNamesRequest, SwitchReply>{"getEffectEnabled",
                                                                         "whether an effect is on"},
    Setting<AppFunction::SetEffectParameter, EffectRequest, StatusReply>{"setEffectParameter",
                                                                         "parameter of an effect"},
    Setting<AppFunction::GetEffectParameter, EffectRequest, EffectReply>{"getEffectParameter",
                                                                         "parameter of an effect"},
};

inline constexpr Settings MIXER_SETTINGS{
    Setting<MixerFunction::SetUpMixMode, NumberRequest, StatusReply>{"setUpMixMode", "up-mix mode"},
    Setting<MixerFunction::MixExtGps, NumberRequest, StatusReply>{"mixExtGps", "navigation mode"},
    Setting<MixerFunction::SetGpsGain, MixerStepsRequest, StatusReply>{"setGpsMixerGain",
                                                                       "gains of navigation"},
    Setting<MixerFunction::SetAlternativeGain, MixerStepsRequest, StatusReply>{
        "setAlternativeAudioMixerGain", "gains of alternative"},
    Setting<MixerFunction::SetGpsMatrix, MixerGainsRequest, StatusReply>{"setGpsMixerGain",
                                                                         "gains of navigation"},
    Setting<MixerFunction::SetAlternativeMatrix, MixerGainsRequest, StatusReply>{
        "setAlternativeAudioMixerGain", "gains of alternative"},
    Setting<MixerFunction::MixAlternativeInHardware, TwoNumbersRequest, StatusReply>{
        "setHwAlternativeAudioMixerWithMain", "mixes alternative audio in hardware: channels, on"},
    Setting<MixerFunction::GetUpMixMode, FunctionRequest, NumberReply>{"getUpMixMode",
                                                                       "up-mix mode"},
};

inline constexpr Settings SOURCE_SETTINGS{
    Setting<SourceFunction::SelectSource, TwoNumbersRequest, StatusReply>{
        "selectSource", "source (second number) of a seat (first)"},
    Setting<SourceFunction::SetFrontState, NumberRequest, StatusReply>{"setFrontAudioState",
                                                                       "state of the front seats"},
    Setting<SourceFunction::SetRearState, NumberRequest, StatusReply>{"setRearAudioState",
                                                                      "state of the rear seats"},
    Setting<SourceFunction::SetAdcMuxPin, TwoNumbersRequest, StatusReply>{
        "setAdcMuxPin", "pin (second number) of a converter's input (first)"},
    Setting<SourceFunction::GetAdcMuxPin, NumberRequest, NumberReply>{"getAdcMuxPin",
                                                                      "pin of a converter's input"},
    Setting<SourceFunction::SetDacMapping, DacMappingRequest, StatusReply>{
        "setDacOutPutMapping", "mapping of the converter's outputs"},
    Setting<SourceFunction::GetDacMapping, FunctionRequest, DacMappingReply>{
        "getDacOutPutMapping", "mapping of the converter's outputs"},
    Setting<SourceFunction::SetI2sMapping, I2sMappingRequest, StatusReply>{
        "setI2sOutPutMapping", "mapping of the serial bus"},
    Setting<SourceFunction::GetI2sMapping, FunctionRequest, I2sMappingReply>{
        "getI2sOutPutMapping", "mapping of the serial bus"},
    Setting<SourceFunction::SetAdcLeftRightSwitch, NumberRequest, StatusReply>{
        "setAdcLeftRightSwitch", "exchanges left and right of the input", NO_FLAG},
    Setting<SourceFunction::SetOutputSource, TwoNamesRequest, StatusReply>{
        "setOutPutSource", "source that an output plays"},
    Setting<SourceFunction::SetInputDestination, TwoNamesRequest, StatusReply>{
        "setInputDestination", "where an input goes"},
    Setting<SourceFunction::DumpOutputSources, NameRequest, StatusReply>{
        "dumpOutPutSourceList", "writes the sources of an output into the server's log"},
    Setting<SourceFunction::DumpInputDestinations, NameRequest, StatusReply>{
        "dumpInputDestinationList", "writes the destinations of an input into the server's log"},
    Setting<SourceFunction::SetSpeakerPattern, ChannelNumberRequest, StatusReply>{
        "setMainAudioSpeakerTestPattern", "tests loudspeakers with a pattern", NO_FLAG},
    Setting<SourceFunction::SetSpeakerTone, ChannelNumberRequest, StatusReply>{
        "setMainAudioSpeakerTestPattern", "tests loudspeakers with a tone, in Hz", NO_FLAG},
    Setting<SourceFunction::ConfigurePcmInterface, PcmInterfaceRequest, StatusReply>{
        "configurePcmHwInterface", "configuration of the PCM interface"},
    Setting<SourceFunction::EnablePcmInterface, NumberRequest, StatusReply>{
        "enablePcmHwInterface", "switches the PCM interface", NO_FLAG},
    Setting<SourceFunction::SetSpeakerOutput, ChannelRequest, StatusReply>{
        "setSpeakerOutPut", "loudspeakers that are heard", NO_FLAG},
    Setting<SourceFunction::GetSpeakerOutput, FunctionRequest, NumberReply>{
        "getSpeakerOutPut", "loudspeakers that are heard", NO_FLAG},
    Setting<SourceFunction::GetOutputSource, NameRequest, NameReply>{"getOutPutSource",
                                                                     "source that an output plays"},
    Setting<SourceFunction::GetInputDestination, NameRequest, NameReply>{"getInputDestination",
                                                                         "where an input goes"},
    Setting<SourceFunction::GetSourceNumber, NameRequest, NumberReply>{
        "getActivedSourceNumber", "number of active streams of a tag"},
    Setting<SourceFunction::SetHandsfreeDelay, NumberRequest, StatusReply>{
        "setHandsfreeDelay", "delay of the hands-free processing", NO_FLAG},
    Setting<SourceFunction::SetSampleRateCapability, NumberRequest, StatusReply>{
        "setSamplerateCapability", "sample rates of the output, 0 to 5", NO_FLAG},
    Setting<SourceFunction::SetI2sFormat, I2sFormatRequest, StatusReply>{
        "setI2sFormatAndConfig", "format of the serial bus"},
    Setting<SourceFunction::GetOutputTrackInfo, NumberRequest, OutputTracksReply>{
        "getOutputTrackInfo", "tracks of outputs (1 main, 2 all others)"},
    Setting<SourceFunction::SetAutoRamp, NumberRequest, StatusReply>{
        "setHwAutoRampMode", "ramps changes or not", NO_FLAG},
    Setting<SourceFunction::GetTrackStreamType, TwoNamesRequest, NameReply>{
        "getTrackStreamType", "stream type of a track"},
    Setting<SourceFunction::GetActiveTrackNames, NameRequest, NamesReply>{
        "getActiveTracksName", "names of the active streams of a tag"},
    Setting<SourceFunction::GetSignalEnergy, NumberRequest, LevelReply>{
        "getHWSignalEnergy", "energy of a signal of the hardware"},
    Setting<SourceFunction::GetActiveTracks, FunctionRequest, TracksReply>{"getActiveTracksInfo",
                                                                           "the active tracks"},
};

inline constexpr Settings VOLUME_SETTINGS{
    Setting<VolumeFunction::SetDuckingMode, NumberRequest, StatusReply>{"setMainAudioDunkingMode",
                                                                        "ducking mode"},
    Setting<VolumeFunction::SetDuckingTargetStep, StepRequest, StatusReply>{
        "setMainAudioDunkingTargetGain", "ducking target"},
    Setting<VolumeFunction::SetMasterStep, StepRequest, StatusReply>{"setMasterVolume",
                                                                     "volume of main"},
    Setting<VolumeFunction::GetMasterStep, FunctionRequest, StepReply>{"getMasterVolume",
                                                                       "volume of main"},
    Setting<VolumeFunction::SetChannelStep, ChannelStepRequest, StatusReply>{
        "setChannelGain", "volume of loudspeakers"},
    Setting<VolumeFunction::GetChannelStep, ChannelRequest, ChannelStepReply>{
        "getChannelGain", "volume of a loudspeaker"},
    Setting<VolumeFunction::Mute, MuteRequest, StatusReply>{"mute", "mutes paths"},
    Setting<VolumeFunction::Demute, MuteRequest, StatusReply>{"demute", "unmutes paths"},
    Setting<VolumeFunction::SetAdcPgaGain, InputGainRequest, StatusReply>{
        "setAdcPgaGain", "programmable amplifier of a converter's input"},
    Setting<VolumeFunction::GetAdcPgaGain, NumberRequest, InputGainReply>{
        "getAdcPgaGain", "programmable amplifier of a converter's input"},
    Setting<VolumeFunction::SetAdcOpGain, InputGainRequest, StatusReply>{
        "setAdcOpGain", "operational amplifier of a converter's input"},
    Setting<VolumeFunction::GetAdcOpGain, NumberRequest, InputGainReply>{
        "getAdcOpGain", "operational amplifier of a converter's input"},
    Setting<VolumeFunction::SetUpLinkGain, GainRequest, StatusReply>{"setUpLinkGain",
                                                                     "gain of the uplink"},
    Setting<VolumeFunction::GetUpLinkGain, FunctionRequest, GainReply>{"getUpLinkGain",
                                                                       "gain of the uplink"},
    Setting<VolumeFunction::SetSecondStep, StepRequest, StatusReply>{"setSecondAudioVolume",
                                                                     "volume of second"},
    Setting<VolumeFunction::GetSecondStep, FunctionRequest, StepReply>{"getSecondAudioVolume",
                                                                       "volume of second"},
    Setting<VolumeFunction::SetTrackStep, TrackStepRequest, StatusReply>{"setTrackVolume",
                                                                         "volume of a track"},
    Setting<VolumeFunction::GetTrackStep, TwoNamesRequest, StepReply>{"getTrackVolume",
                                                                      "volume of a track"},
    Setting<VolumeFunction::SetMasterGain, GainRequest, StatusReply>{"setMasterVolume",
                                                                     "volume of main"},
    Setting<VolumeFunction::GetMasterGain, FunctionRequest, GainReply>{"getMasterVolume",
                                                                       "volume of main"},
    Setting<VolumeFunction::SetSecondGain, GainRequest, StatusReply>{"setSecondAudioVolume",
                                                                     "volume of second"},
    Setting<VolumeFunction::GetSecondGain, FunctionRequest, GainReply>{"getSecondAudioVolume",
                                                                       "volume of second"},
    Setting<VolumeFunction::SetTrackGain, TrackGainRequest, StatusReply>{"setTrackVolume",
                                                                         "volume of a track"},
    Setting<VolumeFunction::GetTrackGain, TwoNamesRequest, GainReply>{"getTrackVolume",
                                                                      "volume of a track"},
    Setting<VolumeFunction::SetDuckingTargetGain, GainRequest, StatusReply>{
        "setMainAudioDunkingTargetGain", "ducking target"},
    Setting<VolumeFunction::SetChannelGain, ChannelGainRequest, StatusReply>{
        "setChannelGain", "volume of loudspeakers"},
    Setting<VolumeFunction::GetChannelGain, ChannelRequest, ChannelGainReply>{
        "getChannelGain", "volume of a loudspeaker"},
    Setting<VolumeFunction::SetAlternativeStep, StepRequest, StatusReply>{"setAlterAudioVolume",
                                                                          "volume of alternative"},
    Setting<VolumeFunction::GetAlternativeStep, FunctionRequest, StepReply>{
        "getAlterAudioVolume", "volume of alternative"},
    Setting<VolumeFunction::SetAlternativeGain, GainRequest, StatusReply>{"setAlterAudioVolume",
                                                                          "volume of alternative"},
    Setting<VolumeFunction::GetAlternativeGain, FunctionRequest, GainReply>{
        "getAlterAudioVolume", "volume of alternative"},
    Setting<VolumeFunction::GetMuteState, PathRequest, SwitchReply>{"getMuteState",
                                                                    "whether a path is muted"},
    Setting<VolumeFunction::SetStreamTypeStep, NameStepRequest, StatusReply>{
        "setVolumeByStreamType", "volume of a stream type"},
    Setting<VolumeFunction::GetStreamTypeStep, NameRequest, StepReply>{"getVolumeByStreamType",
                                                                       "volume of a stream type"},
    Setting<VolumeFunction::GetStreamTypes, FunctionRequest, NamesReply>{"getStreamTypeList",
                                                                         "the stream types"},
    Setting<VolumeFunction::Duck, NumberRequest, StatusReply>{"duck", "ducks to a percentage"},
    Setting<VolumeFunction::Unduck, FunctionRequest, StatusReply>{"unduck", "ends ducking"},
    Setting<VolumeFunction::SetStreamTypeGain, NameGainRequest, StatusReply>{
        "setGainByStreamType", "volume of a stream type"},
    Setting<VolumeFunction::GetStreamTypeGain, NameRequest, GainReply>{"getGainByStreamType",
                                                                       "volume of a stream type"},
    Setting<VolumeFunction::StartMicCalibration, FunctionRequest, StatusReply>{
        "startMicGainCalibration", "calibrates the microphone", NO_FLAG},
    Setting<VolumeFunction::GetMicCalibration, FunctionRequest, CalibrationReply>{
        "getMicGainCalibrationResult", "result of the calibration: 0 done, 1 running, -1 none"},
    Setting<VolumeFunction::SetTrackChannelGains, TrackChannelsRequest, StatusReply>{
        "setTrackChannelGain", "gains of a track's channels"},
    Setting<VolumeFunction::SetMasterRamp, RampRequest, StatusReply>{"setMasterVolumeRampDuration",
                                                                     "ramp of volume changes"},
    Setting<VolumeFunction::GetMasterRamp, FunctionRequest, RampReply>{
        "getMasterVolumeRampDuration", "ramp of volume changes"},
};

inline constexpr Settings RECORD_CONTROL_SETTINGS{
    Setting<RecordControlFunction::Set, EffectRequest, StatusReply>{
        "set", "parameter of a capture stream's effect"},
    Setting<RecordControlFunction::Get, EffectRequest, EffectReply>{
        "get", "parameter of a capture stream's effect"},
};

inline constexpr Settings VERSION_SETTINGS{
    Setting<VersionFunction::GetServerVersions, FunctionRequest, VersionReply>{
        "getServerVersions", "versions of the server"},
};

// ---- By function id, for the compiler -----------------------------------------------------------

constexpr const auto& settingsOf(AppFunction) {
    return APP_SETTINGS;
}
constexpr const auto& settingsOf(MixerFunction) {
    return MIXER_SETTINGS;
}
constexpr const auto& settingsOf(SourceFunction) {
    return SOURCE_SETTINGS;
}
constexpr const auto& settingsOf(VolumeFunction) {
    return VOLUME_SETTINGS;
}
constexpr const auto& settingsOf(VersionFunction) {
    return VERSION_SETTINGS;
}
constexpr const auto& settingsOf(RecordControlFunction) {
    return RECORD_CONTROL_SETTINGS;
}

/// Selects an operation from its Settings. A function that is missing or listed twice does not
/// compile.
template <auto FUNCTION, typename Request, typename Reply>
constexpr const Setting<FUNCTION, Request, Reply>& find(
    const Setting<FUNCTION, Request, Reply>& setting) {
    return setting;
}

template <auto FUNCTION>
using SettingOf = std::remove_cvref_t<decltype(find<FUNCTION>(settingsOf(FUNCTION)))>;
template <auto FUNCTION>
constexpr SettingOf<FUNCTION> SETTING = find<FUNCTION>(settingsOf(FUNCTION));
template <auto FUNCTION>
using RequestOf = typename SettingOf<FUNCTION>::Request;
template <auto FUNCTION>
using ReplyOf = typename SettingOf<FUNCTION>::Reply;

// ---- As a table, for tools, servers and tests ---------------------------------------------------

/// Calls `visit` with each Setting of one connection type, in the order of the ids.
template <typename... Operations, typename Visit>
constexpr void forEach(const Settings<Operations...>& settings, Visit visit) {
    (visit(static_cast<const Operations&>(settings)), ...);
}

/// Calls `visit` with every Setting.
template <typename Visit>
constexpr void forEachSetting(Visit visit) {
    forEach(APP_SETTINGS, visit);
    forEach(MIXER_SETTINGS, visit);
    forEach(SOURCE_SETTINGS, visit);
    forEach(VOLUME_SETTINGS, visit);
    forEach(VERSION_SETTINGS, visit);
    forEach(RECORD_CONTROL_SETTINGS, visit);
}

/// A Setting without its types.
struct SettingRow {
    audio_connect_type connection;
    std::uint32_t id;
    const char* name;
    std::size_t requestSize;  // function id included, without a block
    std::size_t replySize;    // status included, without a block
    bool returnsBlock;        // the reply is followed by a block as long as the request says
    bool hasFlag;
};

inline constexpr std::size_t SETTING_COUNT = [] {
    std::size_t count = 0;
    forEachSetting([&](const auto&) { ++count; });
    return count;
}();

constexpr std::array<SettingRow, SETTING_COUNT> settingRows() {
    std::array<SettingRow, SETTING_COUNT> rows{};
    std::size_t next = 0;
    forEachSetting([&](const auto& setting) {
        using Operation = std::remove_cvref_t<decltype(setting)>;
        rows[next++] = {Operation::CONNECTION,
                        static_cast<std::uint32_t>(Operation::ID),
                        setting.name,
                        sizeof(typename Operation::Request),
                        sizeof(typename Operation::Reply),
                        std::is_same_v<typename Operation::Reply, EffectReply>,
                        setting.hasFlag};
    });
    return rows;
}

}  // namespace cabinaudio::wire
