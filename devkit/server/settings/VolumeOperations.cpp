// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/requests/Operations.h"
#include "devkit/server/requests/Services.h"
#include "devkit/server/requests/SettingOperation.h"
#include "devkit/server/settings/Calibration.h"
#include "devkit/server/settings/Limits.h"
#include "devkit/server/settings/Names.h"
#include "devkit/server/settings/Settings.h"
#include "devkit/server/settings/StreamTypes.h"

#include <algorithm>
#include <array>
#include <bit>
#include <optional>
#include <string>

namespace cabinaudio::server {
namespace {

const VolumeSettings& volumeOf(const Call& call) {
    return call.services.settings->volume;
}

/// @return the status of an accepted request
template <typename Change>
std::int32_t change(Call& call, Change make) {
    call.services.settings.change([&](SettingsData& data) { make(data.volume); });
    return AUDIO_NO_ERROR;
}

// ---- Gains of everything, in steps and in dB ----------------------------------------------------

template <float VolumeSettings::*GAIN, std::uint8_t MAXIMUM = gain::MAXIMUM_STEP>
std::int32_t setStep(Call& call, const wire::StepRequest& request, wire::StatusReply&) {
    if (request.step > MAXIMUM) return AUDIO_BAD_VALUE;
    return change(call, [&](VolumeSettings& volume) { volume.*GAIN = gain::ofStep(request.step); });
}

template <float VolumeSettings::*GAIN>
std::int32_t getStep(Call& call, const wire::FunctionRequest&, wire::StepReply& reply) {
    reply.step = gain::stepOf(volumeOf(call).*GAIN);
    return AUDIO_NO_ERROR;
}

template <float VolumeSettings::*GAIN, const Range& RANGE = GAIN_RANGE>
std::int32_t setGain(Call& call, const wire::GainRequest& request, wire::StatusReply&) {
    if (!RANGE.holds(request.gain)) return AUDIO_BAD_VALUE;
    return change(call, [&](VolumeSettings& volume) { volume.*GAIN = request.gain; });
}

template <float VolumeSettings::*GAIN>
std::int32_t getGain(Call& call, const wire::FunctionRequest&, wire::GainReply& reply) {
    reply.gain = volumeOf(call).*GAIN;
    return AUDIO_NO_ERROR;
}

// ---- Ducking ------------------------------------------------------------------------------------

std::int32_t setDuckingMode(Call& call, const wire::NumberRequest& request, wire::StatusReply&) {
    if (request.value < 0 || request.value > DUCKING_MODE_MAX) return AUDIO_BAD_VALUE;
    return change(call, [&](VolumeSettings& volume) {
        volume.duckingMode = static_cast<std::uint32_t>(request.value);
    });
}

std::int32_t duck(Call& call, const wire::NumberRequest& request, wire::StatusReply&) {
    if (request.value < 0 || request.value > DUCK_PERCENT_MAX) return AUDIO_BAD_VALUE;
    return change(call, [&](VolumeSettings& volume) {
        volume.duckPercent = static_cast<std::uint32_t>(request.value);
    });
}

std::int32_t unduck(Call& call, const wire::FunctionRequest&, wire::StatusReply&) {
    return change(call, [](VolumeSettings& volume) { volume.duckPercent = 0; });
}

// ---- Loudspeakers -------------------------------------------------------------------------------

std::int32_t setChannels(Call& call, std::uint32_t mask, float dB) {
    if (!isLoudspeakers(mask)) return AUDIO_BAD_VALUE;
    return change(call, [&](VolumeSettings& volume) {
        for (std::size_t i = 0; i < volume.channels.size(); ++i)
            if ((mask >> i & 1) != 0) volume.channels[i] = dB;
    });
}

std::int32_t setChannelStep(Call& call, const wire::ChannelStepRequest& request,
                            wire::StatusReply&) {
    if (request.value.volume > gain::MAXIMUM_STEP) return AUDIO_BAD_VALUE;
    return setChannels(call, request.value.channel, gain::ofStep(request.value.volume));
}

std::int32_t setChannelGain(Call& call, const wire::ChannelGainRequest& request,
                            wire::StatusReply&) {
    if (!GAIN_RANGE.holds(request.gain)) return AUDIO_BAD_VALUE;
    return setChannels(call, request.channel, request.gain);
}

std::int32_t getChannelStep(Call& call, const wire::ChannelRequest& request,
                            wire::ChannelStepReply& reply) {
    reply.value.channel = request.channels;
    const auto loudspeaker = loudspeakerOf(request.channels);
    if (!loudspeaker) return AUDIO_BAD_VALUE;
    reply.value.volume = gain::stepOf(volumeOf(call).channels[*loudspeaker]);
    return AUDIO_NO_ERROR;
}

std::int32_t getChannelGain(Call& call, const wire::ChannelRequest& request,
                            wire::ChannelGainReply& reply) {
    reply.channel = request.channels;
    const auto loudspeaker = loudspeakerOf(request.channels);
    if (!loudspeaker) return AUDIO_BAD_VALUE;
    reply.gain = volumeOf(call).channels[*loudspeaker];
    return AUDIO_NO_ERROR;
}

// ---- Tracks -------------------------------------------------------------------------------------

template <typename Request>
std::optional<VolumeSettings::TrackName> trackOf(const Request& request) {
    VolumeSettings::TrackName track{textOf(request.tag), textOf(request.name)};
    if (!isTrackTag(track.first) || track.second.empty()) return std::nullopt;
    return track;
}

/// Tracks that do not exist (yet) have settings too.
template <typename Change>
std::int32_t changeTrack(Call& call, const std::optional<VolumeSettings::TrackName>& name,
                         Change make) {
    if (!name) return AUDIO_BAD_VALUE;
    const auto& tracks = volumeOf(call).tracks;
    if (tracks.size() >= MOST_REMEMBERED && !tracks.contains(*name)) return AUDIO_NO_MEMORY;
    return change(call, [&](VolumeSettings& volume) { make(volume.tracks[*name]); });
}

template <typename Take>
std::int32_t takeTrackGain(const Call& call, const wire::TwoNamesRequest& request, Take take) {
    const auto name = trackOf(request);
    if (!name) return AUDIO_BAD_VALUE;
    const auto& tracks = volumeOf(call).tracks;
    const auto found = tracks.find(*name);
    take(found != tracks.end() ? found->second.gain : VolumeSettings::Track().gain);
    return AUDIO_NO_ERROR;
}

std::int32_t setTrackStep(Call& call, const wire::TrackStepRequest& request, wire::StatusReply&) {
    if (request.step > gain::MAXIMUM_STEP) return AUDIO_BAD_VALUE;
    return changeTrack(call, trackOf(request), [&](VolumeSettings::Track& track) {
        track.gain = gain::ofStep(request.step);
    });
}

std::int32_t getTrackStep(Call& call, const wire::TwoNamesRequest& request,
                          wire::StepReply& reply) {
    return takeTrackGain(call, request, [&](float dB) { reply.step = gain::stepOf(dB); });
}

std::int32_t setTrackGain(Call& call, const wire::TrackGainRequest& request, wire::StatusReply&) {
    if (!GAIN_RANGE.holds(request.gain)) return AUDIO_BAD_VALUE;
    return changeTrack(call, trackOf(request),
                       [&](VolumeSettings::Track& track) { track.gain = request.gain; });
}

std::int32_t getTrackGain(Call& call, const wire::TwoNamesRequest& request,
                          wire::GainReply& reply) {
    return takeTrackGain(call, request, [&](float dB) { reply.gain = dB; });
}

std::int32_t setTrackChannels(Call& call, const wire::TrackChannelsRequest& request,
                              wire::StatusReply&) {
    const bool areGains = std::all_of(std::begin(request.gains), std::end(request.gains),
                                      [](float dB) { return GAIN_RANGE.holds(dB); });
    if (!areGains || textOf(request.tag) != "auxiliary") return AUDIO_BAD_VALUE;
    return changeTrack(call, trackOf(request), [&](VolumeSettings::Track& track) {
        std::copy(std::begin(request.gains), std::end(request.gains), track.channels.begin());
    });
}

// ---- Stream types -------------------------------------------------------------------------------

std::int32_t setStreamType(Call& call, const std::string& type, float dB) {
    if (!isStreamType(type)) return AUDIO_BAD_VALUE;
    return change(call, [&](VolumeSettings& volume) { volume.streamTypes[type] = dB; });
}

template <typename Take>
std::int32_t takeStreamTypeGain(const Call& call, const wire::NameRequest& request, Take take) {
    const std::string type = textOf(request.name);
    if (!isStreamType(type)) return AUDIO_BAD_VALUE;
    const auto& types = volumeOf(call).streamTypes;
    const auto found = types.find(type);
    take(found != types.end() ? found->second : 0.0F);
    return AUDIO_NO_ERROR;
}

std::int32_t setStreamTypeStep(Call& call, const wire::NameStepRequest& request,
                               wire::StatusReply&) {
    if (request.step > gain::MAXIMUM_STEP) return AUDIO_BAD_VALUE;
    return setStreamType(call, textOf(request.name), gain::ofStep(request.step));
}

std::int32_t getStreamTypeStep(Call& call, const wire::NameRequest& request,
                               wire::StepReply& reply) {
    return takeStreamTypeGain(call, request, [&](float dB) { reply.step = gain::stepOf(dB); });
}

std::int32_t setStreamTypeGain(Call& call, const wire::NameGainRequest& request,
                               wire::StatusReply&) {
    if (!GAIN_RANGE.holds(request.gain)) return AUDIO_BAD_VALUE;
    return setStreamType(call, textOf(request.name), request.gain);
}

std::int32_t getStreamTypeGain(Call& call, const wire::NameRequest& request,
                               wire::GainReply& reply) {
    return takeStreamTypeGain(call, request, [&](float dB) { reply.gain = dB; });
}

std::int32_t getStreamTypes(Call&, const wire::FunctionRequest&, wire::NamesReply& reply) {
    for (const char* type : STREAM_TYPES)
        put(type, reply.list.slots[reply.list.count++]);
    return AUDIO_NO_ERROR;
}

// ---- Mutes --------------------------------------------------------------------------------------

// The option is ignored: every change of the mix is ramped.

std::int32_t mute(Call& call, const wire::MuteRequest& request, wire::StatusReply&) {
    if (!isPaths(request.paths)) return AUDIO_BAD_VALUE;
    return change(call, [&](VolumeSettings& volume) { volume.mutedPaths |= request.paths; });
}

std::int32_t demute(Call& call, const wire::MuteRequest& request, wire::StatusReply&) {
    if (!isPaths(request.paths)) return AUDIO_BAD_VALUE;
    return change(call, [&](VolumeSettings& volume) { volume.mutedPaths &= ~request.paths; });
}

std::int32_t getMuteState(Call& call, const wire::PathRequest& request, wire::SwitchReply& reply) {
    if (!isPaths(request.path) || !std::has_single_bit(request.path)) return AUDIO_BAD_VALUE;
    reply.isOn = (volumeOf(call).mutedPaths & request.path) != 0 ? 1 : 0;
    return AUDIO_NO_ERROR;
}

// ---- Ramp ---------------------------------------------------------------------------------------

std::int32_t setRamp(Call& call, const wire::RampRequest& request, wire::StatusReply&) {
    if (!RAMP_RANGE.holds(request.up) || !RAMP_RANGE.holds(request.down)) return AUDIO_BAD_VALUE;
    return change(call, [&](VolumeSettings& volume) {
        volume.rampUpMs = request.up;
        volume.rampDownMs = request.down;
    });
}

std::int32_t getRamp(Call& call, const wire::FunctionRequest&, wire::RampReply& reply) {
    reply.up = volumeOf(call).rampUpMs;
    reply.down = volumeOf(call).rampDownMs;
    return AUDIO_NO_ERROR;
}

// ---- Uplink and microphones ---------------------------------------------------------------------

using InputGain = VolumeSettings::Pair VolumeSettings::Input::*;

template <InputGain GAIN>
std::int32_t setInputGain(Call& call, const wire::InputGainRequest& request, wire::StatusReply&) {
    if (request.input >= volumeOf(call).inputs.size() || !MICROPHONE_RANGE.holds(request.left) ||
        !MICROPHONE_RANGE.holds(request.right)) {
        return AUDIO_BAD_VALUE;
    }
    return change(call, [&](VolumeSettings& volume) {
        volume.inputs[request.input].*GAIN = {request.left, request.right};
    });
}

template <InputGain GAIN>
std::int32_t getInputGain(Call& call, const wire::NumberRequest& request,
                          wire::InputGainReply& reply) {
    const auto& inputs = volumeOf(call).inputs;
    const auto input = static_cast<std::uint32_t>(request.value);
    if (input >= inputs.size()) return AUDIO_BAD_VALUE;
    const VolumeSettings::Pair& gains = inputs[input].*GAIN;
    reply.left = gains[0];
    reply.right = gains[1];
    return AUDIO_NO_ERROR;
}

std::int32_t startCalibration(Call& call, const wire::FunctionRequest&, wire::StatusReply&) {
    return call.services.calibration.start();
}

std::int32_t getCalibration(Call& call, const wire::FunctionRequest&,
                            wire::CalibrationReply& reply) {
    reply.gain = call.services.calibration.gain();
    reply.result = static_cast<std::int32_t>(call.services.calibration.result());
    return AUDIO_NO_ERROR;
}

using Id = wire::VolumeFunction;
using V = VolumeSettings;
constexpr std::array OPERATIONS = {
    setting<Id::SetDuckingMode, &setDuckingMode>(),
    setting<Id::SetDuckingTargetStep, &setStep<&V::duckingTarget, gain::UNITY_STEP>>(),
    setting<Id::SetDuckingTargetGain, &setGain<&V::duckingTarget, ATTENUATION_RANGE>>(),
    setting<Id::SetMasterStep, &setStep<&V::master>>(),
    setting<Id::GetMasterStep, &getStep<&V::master>>(),
    setting<Id::SetMasterGain, &setGain<&V::master>>(),
    setting<Id::GetMasterGain, &getGain<&V::master>>(),
    setting<Id::SetChannelStep, &setChannelStep>(),
    setting<Id::GetChannelStep, &getChannelStep>(),
    setting<Id::SetChannelGain, &setChannelGain>(),
    setting<Id::GetChannelGain, &getChannelGain>(),
    setting<Id::Mute, &mute>(),
    setting<Id::Demute, &demute>(),
    setting<Id::GetMuteState, &getMuteState>(),
    setting<Id::SetAdcPgaGain, &setInputGain<&V::Input::pga>>(),
    setting<Id::GetAdcPgaGain, &getInputGain<&V::Input::pga>>(),
    setting<Id::SetAdcOpGain, &setInputGain<&V::Input::op>>(),
    setting<Id::GetAdcOpGain, &getInputGain<&V::Input::op>>(),
    setting<Id::SetUpLinkGain, &setGain<&V::uplink>>(),
    setting<Id::GetUpLinkGain, &getGain<&V::uplink>>(),
    setting<Id::SetSecondStep, &setStep<&V::second>>(),
    setting<Id::GetSecondStep, &getStep<&V::second>>(),
    setting<Id::SetSecondGain, &setGain<&V::second>>(),
    setting<Id::GetSecondGain, &getGain<&V::second>>(),
    setting<Id::SetTrackStep, &setTrackStep>(),
    setting<Id::GetTrackStep, &getTrackStep>(),
    setting<Id::SetTrackGain, &setTrackGain>(),
    setting<Id::GetTrackGain, &getTrackGain>(),
    setting<Id::SetAlternativeStep, &setStep<&V::alternative>>(),
    setting<Id::GetAlternativeStep, &getStep<&V::alternative>>(),
    setting<Id::SetAlternativeGain, &setGain<&V::alternative>>(),
    setting<Id::GetAlternativeGain, &getGain<&V::alternative>>(),
    setting<Id::SetStreamTypeStep, &setStreamTypeStep>(),
    setting<Id::GetStreamTypeStep, &getStreamTypeStep>(),
    setting<Id::SetStreamTypeGain, &setStreamTypeGain>(),
    setting<Id::GetStreamTypeGain, &getStreamTypeGain>(),
    setting<Id::GetStreamTypes, &getStreamTypes>(),
    setting<Id::Duck, &duck>(),
    setting<Id::Unduck, &unduck>(),
    setting<Id::StartMicCalibration, &startCalibration>(),
    setting<Id::GetMicCalibration, &getCalibration>(),
    setting<Id::SetTrackChannelGains, &setTrackChannels>(),
    setting<Id::SetMasterRamp, &setRamp>(),
    setting<Id::GetMasterRamp, &getRamp>(),
};
static_assert(coversAll(OPERATIONS, wire::VOLUME_SETTINGS));

}  // namespace

std::span<const Operation> volumeOperations() {
    return OPERATIONS;
}

}  // namespace cabinaudio::server
