// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/Conversations.h"

#include "devkit/trace/Load.h"
#include "wire/Frame.h"

#include <cstring>
#include <span>
#include <utility>

namespace cabinaudio::trace {
namespace {

using Of = Happening::Kind;

bool isRegistration(const Record& record) {
    return record.bytes.size() == sizeof(audio_param) &&
           load<audio_param>(record.bytes).cmd == AUDIO_CMD_REGISTER;
}

/// A request has at least a function id.
bool isRequest(const Record& record) {
    return record.function != UNKNOWN &&
           record.bytes.size() >= sizeof(audio_param) + sizeof(std::uint32_t);
}

bool isNotification(const Record& record) {
    const auto header = load<SocketFrameHeader>(record.bytes);
    return record.bytes.size() == sizeof header && header.magic == FRAME_MAGIC &&
           header.headerId == HEADER_NOTIFY;
}

void registerPeer(Peer& peer, const Record& request, const Record& reply) {
    const auto header = load<audio_param>(request.bytes);
    peer.type = header.type;
    peer.name = {header.name, strnlen(header.name, sizeof header.name)};
    if (reply.bytes.size() < sizeof(SocketFrameHeader)) return;
    const auto body = std::span(reply.bytes).subspan(sizeof(SocketFrameHeader));
    peer.handle = load<wire::RegistrationReply>(body).handle;
}

}  // namespace

std::vector<Happening> Conversations::add(const Record& record) {
    std::vector<Happening> result;
    Connection& connection = mConnections[record.connection];
    Peer& peer = connection.peer;
    peer.connection = record.connection;
    if (record.pid != 0) peer.pid = record.pid;
    if (record.type != UNKNOWN) peer.type = record.type;
    const bool endsRequest = record.kind == Kind::ToServer || record.kind == Kind::Disconnected;
    if (endsRequest && connection.request) result.push_back(unanswered(connection));
    switch (record.kind) {
        case Kind::Connected:
            result.push_back(about(connection, Of::Connected, record));
            break;
        case Kind::ToServer:
            if (auto happening = fromClient(connection, record))
                result.push_back(std::move(*happening));
            break;
        case Kind::ToClient:
            result.push_back(fromServer(connection, record));
            break;
        case Kind::Disconnected:
            result.push_back(about(connection, Of::Disconnected, record));
            mConnections.erase(record.connection);
            break;
        case Kind::Ring:
            result.push_back(about(connection, Of::Ring, record));
            break;
        case Kind::Sound:
            result.push_back(about(connection, Of::Sound, record));
            break;
        case Kind::Lost:
            result.push_back(about(connection, Of::Lost, record));
            break;
    }
    return result;
}

std::vector<Happening> Conversations::end() {
    std::vector<Happening> result;
    for (auto& [number, connection] : mConnections)
        if (connection.request) result.push_back(unanswered(connection));
    return result;
}

Happening Conversations::about(const Connection& connection, Happening::Kind kind,
                               const Record& record) {
    Happening happening;
    happening.kind = kind;
    happening.timeNs = record.timeNs;
    happening.peer = connection.peer;
    happening.bytes = record.bytes;
    return happening;
}

Happening Conversations::unanswered(Connection& connection) {
    const Record request = *std::exchange(connection.request, std::nullopt);
    const bool registers = isRegistration(request);
    if (registers) registerPeer(connection.peer, request, {});
    Happening happening = about(
        connection, registers ? Happening::Kind::Registration : Happening::Kind::Request, request);
    happening.request = std::exchange(happening.bytes, {});
    return happening;
}

std::optional<Happening> Conversations::fromClient(Connection& connection, const Record& record) {
    if (!isRegistration(record) && !isRequest(record))
        return about(connection, Happening::Kind::FromClient, record);
    connection.request = record;
    return {};
}

Happening Conversations::fromServer(Connection& connection, const Record& record) {
    if (isNotification(record)) return about(connection, Happening::Kind::Notification, record);
    if (connection.request) return answer(connection, record);
    return about(connection, Happening::Kind::FromServer, record);
}

Happening Conversations::answer(Connection& connection, const Record& record) {
    const Record request = *std::exchange(connection.request, std::nullopt);
    const bool registers = isRegistration(request);
    if (registers) registerPeer(connection.peer, request, record);
    Happening happening = about(
        connection, registers ? Happening::Kind::Registration : Happening::Kind::Request, record);
    happening.request = request.bytes;
    happening.reply = std::exchange(happening.bytes, {});
    happening.isAnswered = true;
    happening.microseconds = record.detail;
    return happening;
}

}  // namespace cabinaudio::trace
