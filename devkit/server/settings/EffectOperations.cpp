// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/settings/EffectOperations.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/requests/Operations.h"
#include "devkit/server/requests/Services.h"
#include "devkit/server/requests/SettingOperation.h"
#include "devkit/server/settings/Limits.h"
#include "devkit/server/settings/Names.h"
#include "devkit/server/settings/Settings.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>

namespace cabinaudio::server {
namespace {

using EffectName = Effects::key_type;

/// The effects of one kind of streams.
struct Store {
    Effects& (*of)(SettingsData& settings);
    const Effects& (*in)(const SettingsData& settings);
    bool (*isTag)(const std::string& tag);
};

constexpr Store PLAYBACK = {
    [](SettingsData& settings) -> Effects& { return settings.app.effects; },
    [](const SettingsData& settings) -> const Effects& { return settings.app.effects; },
    &hasPlaybackEffects};

constexpr Store CAPTURE = {
    [](SettingsData& settings) -> Effects& { return settings.captureEffects; },
    [](const SettingsData& settings) -> const Effects& { return settings.captureEffects; },
    &hasCaptureEffects};

/// Empty for an unknown tag and for an effect without a name.
template <typename Text>
std::optional<EffectName> nameOf(const Store& store, const Text& tag, const Text& effect) {
    EffectName name{textOf(tag), textOf(effect)};
    if (!store.isTag(name.first) || name.second.empty()) return std::nullopt;
    return name;
}

/// An effect that was never set is off and has no parameter.
const Effect& find(const Call& call, const Store& store, const EffectName& name) {
    static const Effect unset;
    const Effects& effects = store.in(*call.services.settings);
    const auto found = effects.find(name);
    return found != effects.end() ? found->second : unset;
}

template <typename Change>
std::int32_t change(Call& call, const Store& store, const EffectName& name, Change make) {
    const Effects& effects = store.in(*call.services.settings);
    if (effects.size() >= MOST_REMEMBERED && !effects.contains(name)) return AUDIO_NO_MEMORY;
    call.services.settings.change([&](SettingsData& settings) { make(store.of(settings)[name]); });
    return AUDIO_NO_ERROR;
}

std::int32_t set(Call& call, const Store& store, const wire::EffectRequest& request,
                 std::span<const std::uint8_t> parameter) {
    const auto name = nameOf(store, request.tag, request.effect);
    if (!name || parameter.size() > wire::LARGEST_EFFECT) return AUDIO_BAD_VALUE;
    return change(call, store, *name, [&](Effect& effect) {
        effect.parameter.assign(parameter.begin(), parameter.end());
    });
}

/// A request for 0 bytes is answered with the size. A parameter that was never set reads as zeros
/// of any size.
std::int32_t get(const Call& call, const Store& store, const wire::EffectRequest& request,
                 wire::EffectReply& reply, std::span<std::uint8_t> parameter) {
    reply.size = request.size;
    const auto name = nameOf(store, request.tag, request.effect);
    if (!name || parameter.size() > wire::LARGEST_EFFECT) return AUDIO_BAD_VALUE;
    const auto& stored = find(call, store, *name).parameter;
    if (parameter.empty()) reply.size = static_cast<std::uint32_t>(stored.size());
    if (parameter.empty() || stored.empty()) return AUDIO_NO_ERROR;
    if (parameter.size() != stored.size()) return AUDIO_BAD_VALUE;
    std::copy(stored.begin(), stored.end(), parameter.begin());
    return AUDIO_NO_ERROR;
}

std::int32_t setCaptureEffect(Call& call, const wire::EffectRequest& request,
                              std::span<const std::uint8_t> parameter, wire::StatusReply&) {
    return set(call, CAPTURE, request, parameter);
}

std::int32_t getCaptureEffect(Call& call, const wire::EffectRequest& request,
                              wire::EffectReply& reply, std::span<std::uint8_t> parameter) {
    return get(call, CAPTURE, request, reply, parameter);
}

using Id = wire::RecordControlFunction;
constexpr std::array OPERATIONS = {
    setting<Id::Set, &setCaptureEffect>(),
    setting<Id::Get, &getCaptureEffect>(),
};
static_assert(coversAll(OPERATIONS, wire::RECORD_CONTROL_SETTINGS));

}  // namespace

std::int32_t setPlaybackEffectEnabled(Call& call, const wire::EffectSwitchRequest& request,
                                      wire::StatusReply&) {
    const auto name = nameOf(PLAYBACK, request.tag, request.effect);
    if (!name) return AUDIO_BAD_VALUE;
    return change(call, PLAYBACK, *name,
                  [&](Effect& effect) { effect.isEnabled = request.isOn != 0; });
}

std::int32_t getPlaybackEffectEnabled(Call& call, const wire::TwoNamesRequest& request,
                                      wire::SwitchReply& reply) {
    const auto name = nameOf(PLAYBACK, request.tag, request.name);
    if (!name) return AUDIO_BAD_VALUE;
    reply.isOn = find(call, PLAYBACK, *name).isEnabled ? 1 : 0;
    return AUDIO_NO_ERROR;
}

std::int32_t setPlaybackEffect(Call& call, const wire::EffectRequest& request,
                               std::span<const std::uint8_t> parameter, wire::StatusReply&) {
    return set(call, PLAYBACK, request, parameter);
}

std::int32_t getPlaybackEffect(Call& call, const wire::EffectRequest& request,
                               wire::EffectReply& reply, std::span<std::uint8_t> parameter) {
    return get(call, PLAYBACK, request, reply, parameter);
}

std::span<const Operation> recordControlOperations() {
    return OPERATIONS;
}

}  // namespace cabinaudio::server
