// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Outcome.h"
#include "devkit/contract/Rule.h"
#include "devkit/contract/Settings.h"
#include "wire/Settings.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <string_view>
#include <utility>

namespace cabinaudio::contract {

namespace {

std::uint32_t commandOf(bool hasFlag) {
    return hasFlag ? AUDIO_CMD_CALL_FLAG : AUDIO_CMD_CALL;
}

const Readable* readable(const std::string& name) {
    const auto& all = readableSettings();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Readable& setting) { return setting.name == name; });
    return found != all.end() ? &*found : nullptr;
}

/// The setting that tells the value without rounding: a volume in steps is also one in dB.
const Readable& exact(const Readable& setting) {
    constexpr std::string_view SUFFIX = "step";
    if (!setting.name.ends_with(SUFFIX)) return setting;
    const Readable* gain =
        readable(setting.name.substr(0, setting.name.size() - SUFFIX.size()) + "gain");
    return gain != nullptr ? *gain : setting;
}

/// Sets a setting back to its present value.
Restoration restorationOf(Session& session, Connection& connection, const Readable& setting) {
    const Readable& kept = exact(setting);
    return {session, setting.name, kept.type,
            join(kept.setter, kept.setKey, valueOf(connection, kept)), kept.hasFlag};
}

/// Sets another value, reads it and sets the first one back.
void checkReadable(Session& session, const Readable& setting) {
    Connection connection(session, setting.type, wire::NAME_UNKNOWN);
    const Bytes before = valueOf(connection, setting);
    const Bytes& other = before == setting.first ? setting.second : setting.first;
    const Restoration restoration = restorationOf(session, connection, setting);
    const std::int32_t status = setValue(connection, setting, other);
    require(status == 0, "status 0 for the value " + hexText(other),
            "status " + std::to_string(status));
    const Bytes after = valueOf(connection, setting);
    require(after == other, "the value " + hexText(other) + " that was set", hexText(after));
}

void requireRefusal(Connection& connection, const Refused& refused) {
    const std::int32_t status = connection.status(refused.payload, commandOf(refused.hasFlag));
    require(status != 0, "a refusal of " + refused.value, "status 0");
}

void checkRefused(Session& session, const Refused& refused) {
    Connection connection(session, refused.type, wire::NAME_UNKNOWN);
    if (refused.readable.empty()) return requireRefusal(connection, refused);
    const Readable& setting = *readable(refused.readable);
    const Bytes before = valueOf(connection, setting);
    const Restoration restoration = restorationOf(session, connection, setting);
    requireRefusal(connection, refused);
    const Bytes after = valueOf(connection, setting);
    require(after == before, "the value " + hexText(before) + " after a refusal", hexText(after));
}

/// A path is muted and unmuted by two functions.
void checkMute(Session& session) {
    using Id = wire::VolumeFunction;
    constexpr std::uint32_t MAIN = 1;
    constexpr std::uint32_t NO_OPTION = 0;
    const auto change = [&](bool isOn) {
        return join(idOf(isOn ? Id::Mute : Id::Demute), MAIN, NO_OPTION);
    };
    Connection connection(session, AUDIO_CONNECT_VOLUME_SETTING, wire::NAME_UNKNOWN);
    const auto isMuted = [&] {
        return connection.request(join(idOf(Id::GetMuteState), MAIN),
                                  sizeof(wire::SwitchReply))[4] != 0;
    };
    const bool before = isMuted();
    const Restoration restoration(session, "mute", AUDIO_CONNECT_VOLUME_SETTING, change(before));
    for (const bool isOn : {!before, before}) {
        connection.accept(change(isOn), isOn ? "mute" : "demute");
        require(isMuted() == isOn, isOn ? "a muted path" : "a path that is not muted",
                isOn ? "a path that is not muted" : "a muted path");
    }
}

/// Set in microseconds, read in milliseconds.
void checkSpeakerDelay(Session& session) {
    using Id = wire::AppFunction;
    constexpr std::uint32_t FRONT_LEFT = 1;
    constexpr float US = 1000.0F;
    const auto change = [&](float ms) {
        return join(idOf(Id::SetSpeakerDelay), FRONT_LEFT,
                    static_cast<std::int32_t>(std::lround(ms * US)));
    };
    Connection connection(session, AUDIO_CONNECT_APP_SETTING, wire::NAME_UNKNOWN);
    const auto delay = [&] {
        return recordAt<wire::DelayReply>(
                   connection.request(join(idOf(Id::GetSpeakerDelay), FRONT_LEFT),
                                      sizeof(wire::DelayReply)))
            .delay;
    };
    const float before = delay();
    const float other = before == 3.0F ? 2.0F : 3.0F;
    const Restoration restoration(session, "speaker_delay", AUDIO_CONNECT_APP_SETTING,
                                  change(before));
    connection.accept(change(other), "setSpeakerDelay");
    const float after = delay();
    require(after == other, "a delay of " + std::to_string(other) + " ms",
            std::to_string(after) + " ms");
}

void checkWriteOnly(Session& session, const WriteOnly& setting) {
    Connection connection(session, setting.type, wire::NAME_UNKNOWN);
    connection.accept(setting.payload, setting.name, commandOf(setting.hasFlag));
}

}  // namespace

Bytes valueOf(Connection& connection, const Readable& setting) {
    const Bytes reply =
        connection.request(join(setting.getter, setting.getKey),
                           setting.place + setting.first.size(), commandOf(setting.hasFlag));
    const auto status = recordAt<std::int32_t>(reply);
    if (status != 0)
        throw NotJudged("the server does not tell this setting: status " + std::to_string(status));
    return {reply.begin() + static_cast<std::ptrdiff_t>(setting.place), reply.end()};
}

std::int32_t setValue(Connection& connection, const Readable& setting, const Bytes& value) {
    return connection.status(join(setting.setter, setting.setKey, value),
                             commandOf(setting.hasFlag));
}

Restoration::Restoration(Session& session, std::string name, audio_connect_type type, Bytes payload,
                         bool hasFlag)
    : mSession(session),
      mName(std::move(name)),
      mType(type),
      mPayload(std::move(payload)),
      mHasFlag(hasFlag) {}

Restoration::~Restoration() {
    try {
        restore();
    } catch (const std::exception& error) {
        mSession.notRestored.push_back(mName + ": " + error.what());
    }
}

/// With a connection of its own: the rule's may be unusable.
void Restoration::restore() const {
    const Session session = mSession.unstoppable();
    Connection connection(session, mType, wire::NAME_UNKNOWN);
    connection.accept(mPayload, "set back", commandOf(mHasFlag));
}

void addSettingRules(Rules& rules) {
    for (const Readable& setting : readableSettings())
        rules.push_back({"settings." + setting.name,
                         "Setting " + setting.name + " reads as it was set.", SETTINGS,
                         Effect::Changes,
                         [&setting](Session& session) { checkReadable(session, setting); }});
    rules.push_back({"settings.mute", "A muted path reads as muted, until it is unmuted.", SETTINGS,
                     Effect::Changes, checkMute});
    rules.push_back({"settings.speaker_delay",
                     "The delay of a loudspeaker is set in microseconds and read in milliseconds.",
                     SETTINGS, Effect::Changes, checkSpeakerDelay});
    for (const WriteOnly& setting : writeOnlySettings())
        rules.push_back({"settings.write_only." + setting.name,
                         "Setting " + setting.name + ", which cannot be read, is accepted.",
                         SETTINGS, Effect::Lasts,
                         [&setting](Session& session) { checkWriteOnly(session, setting); }});
}

void addRefusalRules(Rules& rules) {
    for (const Refused& refused : refusedValues())
        rules.push_back({"settings.refused." + refused.name,
                         "Setting " + refused.name + " refuses " + refused.value +
                             (refused.readable.empty() ? "." : " and keeps its value."),
                         SETTINGS, Effect::Changes,
                         [&refused](Session& session) { checkRefused(session, refused); }});
}

}  // namespace cabinaudio::contract
