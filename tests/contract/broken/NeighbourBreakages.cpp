// SPDX-License-Identifier: Apache-2.0
// Notifications, malformed messages, and clients that get in each other's way.
#include "tests/contract/broken/Damage.h"
#include "wire/Settings.h"
#include "wire/Stream.h"

#include <memory>

namespace cabinaudio::broken {

namespace {

using contract::idOf;
using Table = std::vector<Breakage>;

constexpr std::size_t HANDLE = 4;  // place in the reply to a registration

/// Commands that a client may send.
bool isCommand(std::uint32_t command) {
    return command == AUDIO_CMD_CALL || command == AUDIO_CMD_CALL_FLAG ||
           command == AUDIO_CMD_REGISTER;
}

void breakNotifications(Table& table) {
    const auto ready = idOf(wire::TrackEvent::RingReady);
    const std::string early = "notification.after_reply";
    table.push_back(
        {early,
         {},
         {},
         replies(own(early, requests(AUDIO_CONNECT_AUXILIARY, idOf(wire::StreamFunction::Create))),
                 [=](Outgoing& frame) { frame.before = notification(ready); }),
         {}});
    table.push_back({"notification.alone",
                     {},
                     {},
                     [=](const Conversation& client, Outgoing& frame) {
                         if (isOf("notification.alone", client.name) && !frame.isReply())
                             frame.body = Bytes(4);
                     },
                     {}});
    const auto isChanged = std::make_shared<bool>(false);
    table.push_back({"notification.none_on_settings",
                     {},
                     {},
                     [=](const Conversation& client, Outgoing& frame) {
                         using Id = wire::VolumeFunction;
                         constexpr auto VOLUME = AUDIO_CONNECT_VOLUME_SETTING;
                         if (requests(VOLUME, idOf(Id::SetMasterGain))(client)) *isChanged = true;
                         if (*isChanged && requests(VOLUME, idOf(Id::GetMasterGain))(client))
                             frame.before = notification(1);
                     },
                     {}});
}

/// What comes before a registration is taken for one.
void takeForRegistration(audio_param& header, const std::string& name = "") {
    header = {};
    header.cmd = AUDIO_CMD_REGISTER;
    header.type = AUDIO_CONNECT_VERSION_SETTING;
    header.handle = AUDIO_REGISTER_WORD;
    header.length = sizeof header.name;
    name.copy(header.name, sizeof header.name - 1);
}

void breakMessages(Table& table) {
    table.push_back(
        {"malformed.unknown_command", [](const Conversation& client, audio_param& header) {
             if (client.handle != 0 && !isCommand(header.cmd)) header.cmd = AUDIO_CMD_CALL;
         }});
    table.push_back({"malformed.implausible_length", [](const Conversation&, audio_param& header) {
                         if (header.length > 1U << 20U) header.length = sizeof(std::uint32_t);
                     }});
    table.push_back(
        {"malformed.request_first", [](const Conversation& client, audio_param& header) {
             if (client.handle == 0 && header.cmd == AUDIO_CMD_CALL_FLAG)
                 takeForRegistration(header);
         }});
}

/// Noise is taken for a registration and requests.
void takeNoise(Table& table) {
    constexpr char NAME[] = "noise";
    table.push_back({"malformed.garbage", [=](const Conversation& client, audio_param& header) {
                         if (client.handle == 0 && !isCommand(header.cmd))
                             return takeForRegistration(header, NAME);
                         if (client.name != NAME) return;
                         header = {};
                         header.cmd = AUDIO_CMD_CALL;
                         header.type = client.type;
                         header.handle = client.handle;
                         header.length = sizeof(std::uint32_t);
                     }});
}

/// While `isArmed`, the next version client is refused.
Change refusal(const std::shared_ptr<bool>& isArmed) {
    return [=](const Conversation& client, Outgoing& frame) {
        const bool isNew = client.requests == 0 && client.type == AUDIO_CONNECT_VERSION_SETTING;
        if (!*isArmed || !isNew) return;
        setWord(frame.body, HANDLE, 0);
        *isArmed = false;
    };
}

/// The next version client after a chosen message is refused.
void refuseNext(Table& table, const std::string& rule, Choice trigger) {
    const auto isArmed = std::make_shared<bool>(false);
    table.push_back({rule,
                     {},
                     {},
                     [=, refuse = refusal(isArmed)](const Conversation& client, Outgoing& frame) {
                         if (trigger(client)) *isArmed = true;
                         refuse(client, frame);
                     },
                     {}});
}

void refuseDuringHalf(Table& table) {
    const auto isArmed = std::make_shared<bool>(false);
    table.push_back(
        {"malformed.half_message", {}, {}, refusal(isArmed), {}, [=] { *isArmed = true; }});
}

}  // namespace

void breakNeighbours(std::vector<Breakage>& table) {
    breakNotifications(table);
    breakMessages(table);
    takeNoise(table);
    refuseDuringHalf(table);
    const std::string header = "malformed.ring_header";
    refuseNext(table, header,
               own(header, requests(AUDIO_CONNECT_ALTERNATIVE, idOf(wire::StreamFunction::Start))));
    refuseNext(table, "limits.slow_reader", [](const Conversation& client) {
        return client.type == AUDIO_CONNECT_SOURCE_SETTING && client.requests == 1 &&
               client.function == idOf(wire::SourceFunction::GetActiveTracks);
    });
    const auto count = std::make_shared<int>(0);
    table.push_back({"limits.many_connections",
                     {},
                     {},
                     [=](const Conversation& client, Outgoing& frame) {
                         constexpr int MOST = 32;
                         if (isOf("limits.many_connections", client.name) && ++*count > MOST)
                             setWord(frame.body, HANDLE, 0);
                     },
                     {}});
}

}  // namespace cabinaudio::broken
