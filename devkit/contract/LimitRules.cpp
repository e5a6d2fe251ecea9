// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Connection.h"
#include "devkit/contract/Outcome.h"
#include "devkit/contract/Rule.h"
#include "wire/Settings.h"

#include <deque>

namespace cabinaudio::contract {

namespace {

void manyConnections(Session& session) {
    constexpr int COUNT = 64;
    std::deque<Connection> connections;
    for (int i = 1; i <= COUNT; ++i) {
        Connection& connection = connections.emplace_back(session);
        const std::uint32_t handle = connection.registerAs(AUDIO_CONNECT_AUXILIARY, session.rule);
        require(handle != 0, "64 connections at the same time",
                "a refusal of number " + std::to_string(i));
    }
    requireService(session, "64 connections");
}

/// More replies than a socket holds.
void slowReader(Session& session) {
    const Connection slow(session, AUDIO_CONNECT_SOURCE_SETTING, wire::NAME_UNKNOWN);
    const Bytes payload = join(idOf(wire::SourceFunction::GetActiveTracks));
    const Bytes message = join(slow.header(payload.size()), payload);
    constexpr int COUNT = 200;
    for (int i = 0; i < COUNT && slow.sendSome(message) == message.size(); ++i) {
    }
    requireService(session, "a client that does not read 200 replies");
}

}  // namespace

void addLimitRules(Rules& rules) {
    rules.push_back({"limits.many_connections", "64 clients are served at the same time.",
                     CONVERSATION, Effect::Changes, manyConnections});
    rules.push_back({"limits.slow_reader",
                     "A client that does not read its replies does not stop others.", CONVERSATION,
                     Effect::Changes, slowReader});
}

}  // namespace cabinaudio::contract
