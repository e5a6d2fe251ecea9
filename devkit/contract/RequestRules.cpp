// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Connection.h"
#include "devkit/contract/Outcome.h"
#include "devkit/contract/Rule.h"
#include "wire/Settings.h"

#include <memory>
#include <string_view>

namespace cabinaudio::contract {

namespace {

constexpr std::uint32_t NO_FUNCTION = 0x7fffff00;

Bytes versionRequest() {
    return join(idOf(wire::VersionFunction::GetServerVersions));
}

void version(Session& session) {
    Connection connection(session, AUDIO_CONNECT_VERSION_SETTING, wire::NAME_UNKNOWN);
    const auto reply = recordAt<wire::VersionReply>(
        connection.request(versionRequest(), sizeof(wire::VersionReply)));
    require(reply.status == 0, "status 0", "status " + std::to_string(reply.status));
}

/// Whether sending it, even with impossible arguments, changes nothing.
bool onlyReads(const wire::SettingRow& row) {
    return std::string_view(row.name).starts_with("get") ||
           (row.connection == AUDIO_CONNECT_RECORD_CONTROL &&
            row.id == idOf(wire::RecordControlFunction::Get));
}

std::string fullName(const wire::SettingRow& row) {
    return std::string(row.name) + " (function " + std::to_string(row.id) + " of type " +
           std::to_string(row.connection) + ")";
}

/// With zeros for arguments: a reply that refuses them has its full size, too.
void checkLength(Connection& connection, const wire::SettingRow& row) {
    Bytes payload = join(row.id);
    payload.resize(row.requestSize);
    connection.sendRequest(payload, row.hasFlag ? AUDIO_CMD_CALL_FLAG : AUDIO_CMD_CALL);
    (void)connection.frame();
    constexpr std::size_t SURPLUS = 64;
    const std::size_t came = connection.receiveOnce(row.replySize + SURPLUS).size();
    require(came == row.replySize,
            fullName(row) + ": a reply of " + std::to_string(row.replySize) + " bytes",
            std::to_string(came) + " bytes");
}

void lengths(Session& session) {
    std::unique_ptr<Connection> connection;
    audio_connect_type type = AUDIO_CONNECT_UNKNOWN;
    for (const wire::SettingRow& row : wire::settingRows()) {
        if (!onlyReads(row)) continue;
        if (row.connection != type)
            connection = std::make_unique<Connection>(session, row.connection, wire::NAME_UNKNOWN);
        type = row.connection;
        checkLength(*connection, row);
    }
}

void bothCommands(Session& session) {
    Connection connection(session, AUDIO_CONNECT_VERSION_SETTING, wire::NAME_UNKNOWN);
    for (const std::uint32_t command : {AUDIO_CMD_CALL, AUDIO_CMD_CALL_FLAG})
        (void)connection.request(versionRequest(), sizeof(wire::VersionReply), command);
}

void unknownFunction(Session& session) {
    Connection connection(session, AUDIO_CONNECT_VOLUME_SETTING, wire::NAME_UNKNOWN);
    const std::int32_t status = connection.status(join(NO_FUNCTION));
    require(status != 0, "a status other than 0 for an unknown function", "status 0");
    (void)connection.request(join(idOf(wire::VolumeFunction::GetMasterGain)),
                             sizeof(wire::GainReply));
}

/// Sends a request with this header, and expects that the server closes the connection.
void requireEnd(const Session& session, Connection& connection, const audio_param& header,
                const std::string& what) {
    connection.send(join(header, versionRequest()));
    require(connection.isClosedByServer(), "the end of the connection after " + what,
            "a connection that is open after " + session.patienceText());
}

void wrongHandle(Session& session) {
    Connection connection(session, AUDIO_CONNECT_VERSION_SETTING, wire::NAME_UNKNOWN);
    audio_param header = connection.header(sizeof(std::uint32_t));
    header.handle = ~header.handle;
    requireEnd(session, connection, header, "a wrong handle");
}

void wrongType(Session& session) {
    Connection connection(session, AUDIO_CONNECT_VERSION_SETTING, wire::NAME_UNKNOWN);
    audio_param header = connection.header(sizeof(std::uint32_t));
    header.type = AUDIO_CONNECT_MIXER_SETTING;
    requireEnd(session, connection, header, "a wrong type");
}

}  // namespace

void addRequestRules(Rules& rules) {
    rules.push_back({"request.version", "The version query is answered with status 0.", VERSION,
                     Effect::Reads, version});
    rules.push_back({"request.lengths",
                     "The reply to every operation of the catalogue that reads has its length.",
                     SETTINGS, Effect::Reads, lengths});
    rules.push_back({"request.both_commands", "Requests are answered with and without the flag.",
                     MESSAGES, Effect::Reads, bothCommands});
    rules.push_back({"request.unknown_function",
                     "An unknown function gets a status, and the connection remains.", CONVERSATION,
                     Effect::Changes, unknownFunction});
    rules.push_back({"request.wrong_handle", "A request with a wrong handle ends the connection.",
                     CONVERSATION, Effect::Changes, wrongHandle});
    rules.push_back({"request.wrong_type", "A request with a wrong type ends the connection.",
                     CONVERSATION, Effect::Changes, wrongType});
}

}  // namespace cabinaudio::contract
