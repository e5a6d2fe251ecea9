// SPDX-License-Identifier: Apache-2.0
// Registrations, frames and requests.
#include "tests/contract/broken/Damage.h"
#include "wire/Settings.h"
#include "wire/Stream.h"

#include <string_view>

namespace cabinaudio::broken {

namespace {

using contract::idOf;
using Table = std::vector<Breakage>;

constexpr std::size_t HANDLE = 4;  // place in the reply to a registration
constexpr std::uint32_t NO_FUNCTION = 0x7fffff00;

Choice registrations(std::function<bool(const Conversation& client)> choice) {
    return [=](const Conversation& client) { return client.requests == 0 && choice(client); };
}

Choice registrations(std::uint32_t type) {
    return registrations([=](const Conversation& client) { return client.type == type; });
}

void add(Table& table, const std::string& rule, Change onSend) {
    table.push_back({rule, {}, {}, std::move(onSend), {}});
}

/// A byte of the header of a reply.
void breakFrame(Table& table, const std::string& rule, std::size_t offset) {
    const auto question = requests(AUDIO_CONNECT_AUXILIARY, idOf(wire::StreamFunction::InitCheck));
    add(table, rule, replies(own(rule, question), [=](Outgoing& frame) {
            reinterpret_cast<std::uint8_t*>(&frame.header)[offset] ^= 0x40;
        }));
}

void breakFrames(Table& table) {
    breakFrame(table, "frame.magic", offsetof(SocketFrameHeader, magic));
    breakFrame(table, "frame.header_id", offsetof(SocketFrameHeader, headerId));
    breakFrame(table, "frame.unused_bytes", offsetof(SocketFrameHeader, spare12));
    breakFrame(table, "frame.times", offsetof(SocketFrameHeader, sendTimeUs) + 4);
    const auto question = requests(AUDIO_CONNECT_AUXILIARY, idOf(wire::StreamFunction::InitCheck));
    add(table, "frame.one_piece",
        replies(own("frame.one_piece", question), [](Outgoing& frame) { frame.isSplit = true; }));
}

void breakRequests(Table& table) {
    constexpr auto VERSION = AUDIO_CONNECT_VERSION_SETTING;
    const auto cut = [](Outgoing& frame) { frame.isCut = true; };
    add(table, "request.version", setsWord(requests(VERSION, 0), 0, BAD));
    add(table, "request.lengths",
        replies(requests(AUDIO_CONNECT_APP_SETTING, idOf(wire::AppFunction::GetSpectrum)),
                [](Outgoing& frame) { frame.body.push_back(0); }));
    add(table, "request.both_commands",
        replies(
            [](const Conversation& client) {
                return client.type == VERSION && client.command == AUDIO_CMD_CALL;
            },
            cut));
    add(table, "request.unknown_function",
        replies([](const Conversation& client) { return client.function == NO_FUNCTION; }, cut));
    table.push_back({"request.wrong_handle", [](const Conversation& client, audio_param& header) {
                         if (client.handle != 0) header.handle = client.handle;
                     }});
    table.push_back({"request.wrong_type", [](const Conversation& client, audio_param& header) {
                         if (client.handle != 0) header.type = client.type;
                     }});
}

}  // namespace

void breakRegistrations(std::vector<Breakage>& table) {
    add(table, "registration.reply",
        replies(own("registration.reply", registrations(AUDIO_CONNECT_AUXILIARY)),
                [](Outgoing& frame) { frame.body.resize(frame.body.size() + 4); }));
    add(table, "registration.types",
        setsWord(registrations(AUDIO_CONNECT_INPUT_FRONT_FEEDBACK), HANDLE, 0));
    add(table, "registration.long_name",
        setsWord(registrations([](const Conversation& client) {
                     return client.name.size() == sizeof(audio_param::name) - 1;
                 }),
                 HANDLE, 0));
    add(table, "registration.refuses_unknown",
        setsWord(registrations(AUDIO_CONNECT_UNKNOWN), HANDLE, 77));
    breakFrames(table);
    breakRequests(table);
}

}  // namespace cabinaudio::broken
