// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Connection.h"
#include "devkit/contract/Outcome.h"
#include "devkit/contract/Rule.h"

namespace cabinaudio::contract {

namespace {

constexpr std::uint32_t TYPES[] = {AUDIO_CONNECT_MAIN,
                                   AUDIO_CONNECT_ALTERNATIVE,
                                   AUDIO_CONNECT_AUXILIARY,
                                   AUDIO_CONNECT_OUTPUT_INVOCATION,
                                   AUDIO_CONNECT_INPUT0,
                                   AUDIO_CONNECT_UPLINK,
                                   AUDIO_CONNECT_INPUT1,
                                   AUDIO_CONNECT_INPUT2,
                                   AUDIO_CONNECT_INPUT_FRONT_FEEDBACK,
                                   AUDIO_CONNECT_APP_SETTING,
                                   AUDIO_CONNECT_MIXER_SETTING,
                                   AUDIO_CONNECT_SOURCE_SETTING,
                                   AUDIO_CONNECT_VOLUME_SETTING,
                                   AUDIO_CONNECT_VERSION_SETTING,
                                   AUDIO_CONNECT_RECORD_CONTROL};

/// Longer than any reply to a registration.
constexpr std::size_t PLENTY = 256;

void reply(Session& session) {
    Connection connection(session);
    connection.send(join(Connection::registration(AUDIO_CONNECT_AUXILIARY, session.rule)));
    const SocketFrameHeader header = connection.frame();
    require(header.headerId == HEADER_REPLY, "a reply, header id 1",
            "header id " + std::to_string(header.headerId));
    const Bytes body = connection.receiveOnce(PLENTY);
    constexpr std::size_t SIZE = sizeof(wire::RegistrationReply);
    require(body.size() == SIZE, "a body of 8 bytes", std::to_string(body.size()) + " bytes");
    require(recordAt<wire::RegistrationReply>(body).handle != 0, "a handle", "handle 0, a refusal");
}

void types(Session& session) {
    for (const std::uint32_t type : TYPES) {
        const bool isStream = type < AUDIO_CONNECT_APP_SETTING;
        Connection(session, type, isStream ? session.rule : wire::NAME_UNKNOWN);
    }
}

void longName(Session& session) {
    std::string name = session.rule;
    name.resize(sizeof(audio_param::name) - 1, 'x');
    Connection(session, AUDIO_CONNECT_AUXILIARY, name);
}

void refusesUnknown(Session& session) {
    Connection connection(session);
    const std::uint32_t handle = connection.registerAs(AUDIO_CONNECT_UNKNOWN, session.rule);
    require(handle == 0, "handle 0 for connection type 255", "handle " + std::to_string(handle));
}

}  // namespace

void addRegistrationRules(Rules& rules) {
    rules.push_back({"registration.reply",
                     "A registration is answered with a frame and 8 bytes that hold a handle.",
                     CONVERSATION, Effect::Reads, reply});
    rules.push_back({"registration.types", "Clients of every connection type get a handle.",
                     MESSAGES, Effect::Reads, types});
    rules.push_back({"registration.long_name", "A name of 63 characters is accepted.", MESSAGES,
                     Effect::Reads, longName});
    rules.push_back({"registration.refuses_unknown",
                     "A stream of an unknown tag, type 255, is refused with handle 0.", MESSAGES,
                     Effect::Reads, refusesUnknown});
}

}  // namespace cabinaudio::contract
