// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Outcome.h"
#include "devkit/contract/Rule.h"
#include "devkit/contract/Stream.h"
#include "wire/Settings.h"

#include <atomic>
#include <limits>

namespace cabinaudio::contract {

namespace {

constexpr auto VERSION_TYPE = AUDIO_CONNECT_VERSION_SETTING;

Bytes versionsRequest() {
    return join(idOf(wire::VersionFunction::GetServerVersions));
}

void requireEnd(const Session& session, const Connection& connection, const std::string& after) {
    require(connection.isClosedByServer(), "the end of the connection after " + after,
            "a connection that is open after " + session.patienceText());
    requireService(session, after);
}

void unknownCommand(Session& session) {
    Connection connection(session, VERSION_TYPE, wire::NAME_UNKNOWN);
    constexpr std::uint32_t NO_COMMAND = 4711;
    connection.send(
        join(connection.header(versionsRequest().size(), NO_COMMAND), versionsRequest()));
    requireEnd(session, connection, "command 4711");
}

void implausibleLength(Session& session) {
    Connection connection(session, VERSION_TYPE, wire::NAME_UNKNOWN);
    audio_param header = connection.header(0);
    header.length = std::numeric_limits<std::uint32_t>::max();
    connection.send(join(header, versionsRequest()));
    requireEnd(session, connection, "a payload of 4294967295 bytes");
}

void requestFirst(Session& session) {
    const Connection connection(session);
    audio_param header = connection.header(versionsRequest().size());
    header.type = VERSION_TYPE;
    connection.send(join(header, versionsRequest()));
    requireEnd(session, connection, "a request before the registration");
}

void garbage(Session& session) {
    const Connection connection(session);
    constexpr std::size_t COUNT = 4096;
    Bytes noise(COUNT);
    std::uint32_t state = 1;
    for (std::uint8_t& byte : noise) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    connection.send(noise);
    requireEnd(session, connection, "4096 bytes of noise");
}

/// The rest comes late; meanwhile others are served.
void halfMessage(Session& session) {
    Connection connection(session, VERSION_TYPE, wire::NAME_UNKNOWN);
    const Bytes message = join(connection.header(versionsRequest().size()), versionsRequest());
    const auto middle = message.begin() + static_cast<std::ptrdiff_t>(message.size() / 2);
    connection.send({message.begin(), middle});
    requireService(session, "half a message");
    connection.send({middle, message.end()});
    (void)connection.reply(sizeof(wire::VersionReply));
}

/// The ring's memory belongs to the client as well. Its stream may be lost, but no other one.
void ringHeader(Session& session) {
    PlaybackStream stream(session, ALTERNATIVE);
    Ring ring = stream.ring();
    stream.startWith(ring, PERIOD_BYTES);
    std::atomic_ref(ring.header().size).store(std::numeric_limits<std::uint32_t>::max());
    std::atomic_ref(ring.header().readOffset).store(std::numeric_limits<std::uint32_t>::max() - 1);
    std::atomic_ref(ring.header().writeOffset).store(1);
    requireService(session, "an overwritten ring header");
    PlaybackStream other(session, ALTERNATIVE, "-2");
    Ring sound = other.ring();
    other.startWith(sound, PERIOD_BYTES);
    const bool isTaken = session.eventually([&] { return sound.used() == 0; });
    require(isTaken, "another stream that plays after an overwritten ring header",
            std::to_string(sound.used()) + " bytes in its ring after " + session.patienceText());
}

}  // namespace

void addMalformedRules(Rules& rules) {
    const auto add = [&](const char* name, const char* sentence, const char* section,
                         void (*check)(Session&)) {
        rules.push_back({name, sentence, section, Effect::Changes, check});
    };
    add("malformed.unknown_command", "An unknown command ends the connection, and no other one.",
        CONVERSATION, unknownCommand);
    add("malformed.implausible_length",
        "An implausible length ends the connection, and no other one.", CONVERSATION,
        implausibleLength);
    add("malformed.request_first",
        "A request before the registration ends the connection, and no other one.", CONVERSATION,
        requestFirst);
    add("malformed.garbage", "Noise ends the connection, and no other one.", CONVERSATION, garbage);
    add("malformed.half_message", "A client in the middle of a message does not stop others.",
        CONVERSATION, halfMessage);
    add("malformed.ring_header", "An overwritten ring header does not stop other streams.", RINGS,
        ringHeader);
}

}  // namespace cabinaudio::contract
