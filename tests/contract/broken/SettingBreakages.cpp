// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Settings.h"
#include "tests/contract/broken/Damage.h"
#include "wire/Settings.h"

namespace cabinaudio::broken {

namespace {

using contract::idOf;
using Table = std::vector<Breakage>;

void add(Table& table, const std::string& rule, Change onSend) {
    table.push_back({"settings." + rule, {}, {}, std::move(onSend), {}});
}

/// The setting reads with one bit changed.
void breakReadable(Table& table, const contract::Readable& setting) {
    // A block begins with its size.
    const bool isBlock = setting.name == "effect.parameter" || setting.name == "effect.capture";
    const std::size_t offset = setting.place + (isBlock ? sizeof(std::uint32_t) : 0);
    add(table, setting.name, flips(requests(setting.type, setting.getter), offset));
}

/// The request in a payload, with exactly these arguments.
Choice sent(std::uint32_t type, const Bytes& payload) {
    const auto arguments = payload.begin() + sizeof(std::uint32_t);
    return requests(type, wordOf(payload, 0), {arguments, payload.end()});
}

}  // namespace

void breakSettings(std::vector<Breakage>& table) {
    for (const contract::Readable& setting : contract::readableSettings())
        breakReadable(table, setting);
    constexpr std::size_t VALUE = 4;
    add(table, "mute",
        flips(requests(AUDIO_CONNECT_VOLUME_SETTING, idOf(wire::VolumeFunction::GetMuteState)),
              VALUE));
    add(table, "speaker_delay",
        flips(requests(AUDIO_CONNECT_APP_SETTING, idOf(wire::AppFunction::GetSpeakerDelay)),
              VALUE));
    for (const contract::WriteOnly& setting : contract::writeOnlySettings())
        add(table, "write_only." + setting.name,
            setsWord(sent(setting.type, setting.payload), 0, BAD));
    for (const contract::Refused& refused : contract::refusedValues())
        add(table, "refused." + refused.name, accepts(sent(refused.type, refused.payload)));
}

}  // namespace cabinaudio::broken
