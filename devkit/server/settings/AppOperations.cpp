// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/base/Period.h"
#include "devkit/server/requests/Operations.h"
#include "devkit/server/requests/Services.h"
#include "devkit/server/requests/SettingOperation.h"
#include "devkit/server/settings/EffectOperations.h"
#include "devkit/server/settings/Level.h"
#include "devkit/server/settings/Limits.h"
#include "devkit/server/settings/Names.h"
#include "devkit/server/settings/Settings.h"
#include "devkit/server/streams/Mixer.h"
#include "devkit/server/streams/PlaybackStream.h"
#include "devkit/server/streams/StreamRegistry.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <vector>

namespace cabinaudio::server {
namespace {

const AppSettings& appOf(const Call& call) {
    return call.services.settings->app;
}

/// @return the status of an accepted request
template <typename Change>
std::int32_t change(Call& call, Change make) {
    call.services.settings.change([&](SettingsData& data) { make(data.app); });
    return AUDIO_NO_ERROR;
}

template <std::int32_t AppSettings::*VALUE>
std::int32_t setNumber(Call& call, const wire::NumberRequest& request, wire::StatusReply&) {
    return change(call, [&](AppSettings& app) { app.*VALUE = request.value; });
}

template <std::int32_t AppSettings::*VALUE>
std::int32_t getNumber(Call& call, const wire::FunctionRequest&, wire::NumberReply& reply) {
    reply.value = appOf(call).*VALUE;
    return AUDIO_NO_ERROR;
}

// ---- What is heard ------------------------------------------------------------------------------

template <std::array<float, 4> Levels::*LEVELS>
std::int32_t getLevels(Call& call, const wire::FunctionRequest&, wire::LevelsReply& reply) {
    const auto levels = call.services.mixer.meter().levels();
    std::transform((levels.*LEVELS).begin(), (levels.*LEVELS).end(), std::begin(reply.levels),
                   millionths);
    return AUDIO_NO_ERROR;
}

// ---- Delays -------------------------------------------------------------------------------------

std::int32_t setSpeakerDelay(Call& call, const wire::ChannelNumberRequest& request,
                             wire::StatusReply&) {
    const std::int32_t us = request.value;
    if (!isLoudspeakers(request.channels) || us < 0 || us > SPEAKER_DELAY_MAX_US)
        return AUDIO_BAD_VALUE;
    return change(call, [&](AppSettings& app) {
        for (std::size_t i = 0; i < app.speakerDelaysUs.size(); ++i)
            if ((request.channels >> i & 1) != 0)
                app.speakerDelaysUs[i] = static_cast<std::uint32_t>(us);
    });
}

std::int32_t getSpeakerDelay(Call& call, const wire::ChannelRequest& request,
                             wire::DelayReply& reply) {
    const auto loudspeaker = loudspeakerOf(request.channels);
    if (!loudspeaker) return AUDIO_BAD_VALUE;
    reply.delay = static_cast<float>(appOf(call).speakerDelaysUs[*loudspeaker]) / 1000.0F;
    return AUDIO_NO_ERROR;
}

/// Time until data that a client writes now reaches the output: the data queued before it, plus one
/// period. 0 when nothing plays.
std::int32_t downlinkDelayMs(const StreamRegistry& streams) {
    std::uint64_t longest = 0;
    for (const auto& stream : streams.streams()) {
        if (!stream->isActive() || stream->ring() == nullptr) continue;
        const std::uint64_t queued = stream->ring()->usedFrames();
        const auto period = static_cast<std::uint64_t>(PERIOD.count());
        longest = std::max(longest, queued * 1000 / stream->record().format.rate + period);
    }
    return static_cast<std::int32_t>(longest);
}

std::int32_t setDelayEstimation(Call& call, const wire::FunctionRequest&, wire::StatusReply&) {
    const std::int32_t ms = downlinkDelayMs(call.services.streams);
    return change(call, [&](AppSettings& app) { app.downlinkDelayMs = ms; });
}

template <bool IS_ON>
std::int32_t switchBypass(Call& call, const wire::FunctionRequest&, wire::StatusReply&) {
    return change(call, [](AppSettings& app) { app.isBypassed = IS_ON; });
}

std::int32_t setDacGain(Call& call, const wire::NumberRequest& request, wire::StatusReply&) {
    return change(
        call, [&](AppSettings& app) { app.dacGain = static_cast<std::uint32_t>(request.value); });
}

// ---- Records that are kept whole, by their first word -------------------------------------------

template <auto RECORDS, typename Request>
std::int32_t setRecord(Call& call, const Request& request, wire::StatusReply&) {
    const auto& records = appOf(call).*RECORDS;
    const std::uint32_t selector = request.value.selector;
    if (records.size() >= MOST_REMEMBERED && !records.contains(selector)) return AUDIO_NO_MEMORY;
    const auto* begin = reinterpret_cast<const std::uint8_t*>(&request.value);
    return change(call, [&](AppSettings& app) {
        (app.*RECORDS)[selector].assign(begin, begin + sizeof request.value);
    });
}

/// A record that was never set reads as zeros after its selector.
template <auto RECORDS, typename Reply>
std::int32_t getRecord(Call& call, const wire::NumberRequest& request, Reply& reply) {
    const auto& records = appOf(call).*RECORDS;
    const auto selector = static_cast<std::uint32_t>(request.value);
    const auto found = records.find(selector);
    reply.value.selector = selector;
    if (found != records.end()) std::memcpy(&reply.value, found->second.data(), sizeof reply.value);
    return AUDIO_NO_ERROR;
}

using Id = wire::AppFunction;
using A = AppSettings;
constexpr std::array OPERATIONS = {
    setting<Id::GetSpectrum, &getLevels<&Levels::bands>>(),
    setting<Id::GetOutputEnergy, &getLevels<&Levels::rms>>(),
    setting<Id::SetSpeakerDelay, &setSpeakerDelay>(),
    setting<Id::GetSpeakerDelay, &getSpeakerDelay>(),
    setting<Id::SetEchoQuality, &setNumber<&A::echoQuality>>(),
    setting<Id::GetEchoQuality, &getNumber<&A::echoQuality>>(),
    setting<Id::EnableBypass, &switchBypass<true>>(),
    setting<Id::DisableBypass, &switchBypass<false>>(),
    setting<Id::SetEqualizer, &setRecord<&A::equalizers, wire::EqualizerRequest>>(),
    setting<Id::GetEqualizer, &getRecord<&A::equalizers, wire::EqualizerReply>>(),
    setting<Id::SetDelayEstimation, &setDelayEstimation>(),
    setting<Id::GetDelayEstimation, &getNumber<&A::downlinkDelayMs>>(),
    setting<Id::SetDuplex, &setNumber<&A::duplex>>(),
    setting<Id::GetDuplex, &getNumber<&A::duplex>>(),
    setting<Id::SetNoiseReduction, &setNumber<&A::noiseReduction>>(),
    setting<Id::GetNoiseReduction, &getNumber<&A::noiseReduction>>(),
    setting<Id::SetNonLinear, &setRecord<&A::nonLinear, wire::NonLinearRequest>>(),
    setting<Id::GetNonLinear, &getRecord<&A::nonLinear, wire::NonLinearReply>>(),
    setting<Id::SetHandsfreeEqualizer,
            &setRecord<&A::handsfreeEqualizers, wire::HandsfreeEqualizerRequest>>(),
    setting<Id::GetHandsfreeEqualizer,
            &getRecord<&A::handsfreeEqualizers, wire::HandsfreeEqualizerReply>>(),
    setting<Id::SetDacGain, &setDacGain>(),
    setting<Id::SetReverbMode, &setNumber<&A::reverbMode>>(),
    setting<Id::SetEffectEnabled, &setPlaybackEffectEnabled>(),
    setting<Id::GetEffectEnabled, &getPlaybackEffectEnabled>(),
    setting<Id::SetEffectParameter, &setPlaybackEffect>(),
    setting<Id::GetEffectParameter, &getPlaybackEffect>(),
};
static_assert(coversAll(OPERATIONS, wire::APP_SETTINGS));

}  // namespace

std::span<const Operation> appOperations() {
    return OPERATIONS;
}

}  // namespace cabinaudio::server
