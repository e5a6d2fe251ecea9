// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/requests/Operations.h"
#include "devkit/server/requests/Services.h"
#include "devkit/server/requests/SettingOperation.h"
#include "devkit/server/settings/Limits.h"
#include "devkit/server/settings/Settings.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace cabinaudio::server {
namespace {

/// @return the status of an accepted request
template <typename Change>
std::int32_t change(Call& call, Change make) {
    call.services.settings.change([&](SettingsData& data) { make(data.mixer); });
    return AUDIO_NO_ERROR;
}

std::int32_t setUpMixMode(Call& call, const wire::NumberRequest& request, wire::StatusReply&) {
    if (request.value < 0 || request.value > UP_MIX_MODE_MAX) return AUDIO_BAD_VALUE;
    return change(call, [&](MixerSettings& mixer) {
        mixer.upMixMode = static_cast<std::uint32_t>(request.value);
    });
}

std::int32_t getUpMixMode(Call& call, const wire::FunctionRequest&, wire::NumberReply& reply) {
    reply.value = static_cast<std::int32_t>(call.services.settings->mixer.upMixMode);
    return AUDIO_NO_ERROR;
}

std::int32_t mixExtGps(Call& call, const wire::NumberRequest& request, wire::StatusReply&) {
    if (request.value < 0 || request.value > NAVIGATION_MODE_MAX) return AUDIO_BAD_VALUE;
    return change(call, [&](MixerSettings& mixer) {
        mixer.navigationMode = static_cast<std::uint32_t>(request.value);
    });
}

template <MixerSettings::Gains MixerSettings::*GAINS>
std::int32_t setSteps(Call& call, const wire::MixerStepsRequest& request, wire::StatusReply&) {
    const auto& steps = request.value.gain;
    const bool areValid = std::all_of(std::begin(steps), std::end(steps),
                                      [](std::uint8_t step) { return step <= gain::UNITY_STEP; });
    if (!areValid) return AUDIO_BAD_VALUE;
    return change(call, [&](MixerSettings& mixer) {
        std::transform(std::begin(steps), std::end(steps), (mixer.*GAINS).begin(), gain::ofStep);
    });
}

template <MixerSettings::Gains MixerSettings::*GAINS>
std::int32_t setGains(Call& call, const wire::MixerGainsRequest& request, wire::StatusReply&) {
    const auto& gains = request.value.gain;
    const bool areValid = std::all_of(std::begin(gains), std::end(gains),
                                      [](float dB) { return ATTENUATION_RANGE.holds(dB); });
    if (!areValid) return AUDIO_BAD_VALUE;
    return change(call, [&](MixerSettings& mixer) {
        std::copy(std::begin(gains), std::end(gains), (mixer.*GAINS).begin());
    });
}

std::int32_t mixInHardware(Call& call, const wire::TwoNumbersRequest& request, wire::StatusReply&) {
    const std::int32_t channels = request.first;
    if (channels <= 0 || channels > HARDWARE_CHANNEL_MAX) return AUDIO_BAD_VALUE;
    const auto mask = static_cast<std::uint32_t>(channels);
    return change(call, [&](MixerSettings& mixer) {
        mixer.hardwareMix =
            request.second != 0 ? mixer.hardwareMix | mask : mixer.hardwareMix & ~mask;
    });
}

using Id = wire::MixerFunction;
using M = MixerSettings;
constexpr std::array OPERATIONS = {
    setting<Id::SetUpMixMode, &setUpMixMode>(),
    setting<Id::GetUpMixMode, &getUpMixMode>(),
    setting<Id::MixExtGps, &mixExtGps>(),
    setting<Id::SetGpsGain, &setSteps<&M::navigation>>(),
    setting<Id::SetGpsMatrix, &setGains<&M::navigation>>(),
    setting<Id::SetAlternativeGain, &setSteps<&M::alternative>>(),
    setting<Id::SetAlternativeMatrix, &setGains<&M::alternative>>(),
    setting<Id::MixAlternativeInHardware, &mixInHardware>(),
};
static_assert(coversAll(OPERATIONS, wire::MIXER_SETTINGS));

}  // namespace

std::span<const Operation> mixerOperations() {
    return OPERATIONS;
}

}  // namespace cabinaudio::server
