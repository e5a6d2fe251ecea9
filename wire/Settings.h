// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/Layout.h"

#include <cstddef>
#include <cstdint>

// Requests of the settings connections. Function ids are counted per connection type.
namespace cabinaudio::wire {

enum class VersionFunction : std::uint32_t {
    GetServerVersions = 0,
};

struct VersionReply {
    std::int32_t status;     // 0
    std::int32_t first[3];   // 4   the server's version
    std::int32_t second[3];  // 16
    std::int32_t third;      // 28
};
static_assert(Layout<VersionReply>);
static_assert(sizeof(VersionReply) == 32);
static_assert(offsetof(VersionReply, status) == 0);
static_assert(offsetof(VersionReply, first) == 4);
static_assert(offsetof(VersionReply, second) == 16);
static_assert(offsetof(VersionReply, third) == 28);

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

/// A list in a reply, behind the status: how many, then a fixed number of slots.
template <typename Slot, std::uint32_t SLOTS>
struct List {
    std::int32_t count;
    Slot slots[SLOTS];
};

/// A text in a reply; it may fill its field to the last byte.
struct Name {
    char text[64];
};

}  // namespace cabinaudio::wire
