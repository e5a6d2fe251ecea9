// SPDX-License-Identifier: Apache-2.0
// Header of everything that the server sends. The requests are those of a stream that is never
// created: they carry a name, and nothing is heard.
#include "devkit/contract/Connection.h"
#include "devkit/contract/Outcome.h"
#include "devkit/contract/Rule.h"
#include "wire/Stream.h"

#include <time.h>

#include <algorithm>

namespace cabinaudio::contract {

namespace {

constexpr std::uint64_t MS = 1000;  // in microseconds

Bytes initCheckRequest() {
    return join(idOf(wire::StreamFunction::InitCheck));
}

/// Header of a reply, without the tests of Connection.
SocketFrameHeader answerHeader(Connection& connection) {
    connection.sendRequest(initCheckRequest(), AUDIO_CMD_CALL);
    const auto header = recordAt<SocketFrameHeader>(connection.receive(sizeof(SocketFrameHeader)));
    (void)connection.receive(sizeof(wire::StatusReply));
    return header;
}

void magic(Session& session) {
    Connection connection(session, AUDIO_CONNECT_AUXILIARY, session.rule);
    const Bytes came = join(answerHeader(connection).magic);
    require(came == join(FRAME_MAGIC), "the bytes " + hexText(join(FRAME_MAGIC)), hexText(came));
}

void headerId(Session& session) {
    Connection connection(session, AUDIO_CONNECT_AUXILIARY, session.rule);
    const std::uint32_t id = answerHeader(connection).headerId;
    require(id == HEADER_REPLY, "header id 1 for a reply", std::to_string(id));
}

void unusedBytes(Session& session) {
    Connection connection(session, AUDIO_CONNECT_AUXILIARY, session.rule);
    const SocketFrameHeader header = answerHeader(connection);
    const Bytes unused = join(header.event, header.spare12, header.param, header.spare28);
    require(unused == Bytes(unused.size()), "zeros in the unused bytes of a reply's header",
            hexText(unused));
}

/// Both clocks that the page allows. @return how far `time` lies outside of [before, now]
std::uint64_t distance(std::uint64_t time, std::uint64_t before, std::uint64_t now) {
    return time < before ? before - time : time - std::min(time, now);
}

void times(Session& session) {
    Connection connection(session, AUDIO_CONNECT_AUXILIARY, session.rule);
    constexpr std::uint64_t TOLERANCE = MS;  // clocks of two processors
    std::uint64_t last = 0;
    for (int i = 0; i < 3; ++i) {
        const std::uint64_t steady = clockUs(CLOCK_MONOTONIC);
        const std::uint64_t civil = clockUs(CLOCK_REALTIME);
        const std::uint64_t time = answerHeader(connection).sendTimeUs;
        const std::uint64_t off = std::min(distance(time, steady, clockUs(CLOCK_MONOTONIC)),
                                           distance(time, civil, clockUs(CLOCK_REALTIME)));
        require(off <= TOLERANCE, "the time of sending, in microseconds of CLOCK_MONOTONIC",
                std::to_string(time) + ", " + std::to_string(off) + " us off");
        require(time >= last, "times that do not decrease",
                std::to_string(time) + " after " + std::to_string(last));
        last = time;
    }
}

void onePiece(Session& session) {
    Connection connection(session, AUDIO_CONNECT_AUXILIARY, session.rule);
    connection.sendRequest(initCheckRequest(), AUDIO_CMD_CALL);
    for (const std::size_t size : {sizeof(SocketFrameHeader), sizeof(wire::StatusReply)}) {
        const std::size_t came = connection.receiveOnce(size).size();
        require(came == size, std::to_string(size) + " bytes in one piece",
                std::to_string(came) + " bytes");
    }
}

}  // namespace

void addFrameRules(Rules& rules) {
    rules.push_back({"frame.magic", "Every frame begins with the magic 0x00112233.", MESSAGES,
                     Effect::Reads, magic});
    rules.push_back(
        {"frame.header_id", "The header id of a reply is 1.", MESSAGES, Effect::Reads, headerId});
    rules.push_back({"frame.unused_bytes", "The unused bytes of a reply's header are 0.", MESSAGES,
                     Effect::Reads, unusedBytes});
    rules.push_back({"frame.times", "Frames carry the time of sending, which does not decrease.",
                     MESSAGES, Effect::Reads, times});
    rules.push_back({"frame.one_piece", "Header and body of a reply arrive in one piece each.",
                     CONVERSATION, Effect::Reads, onePiece});
}

}  // namespace cabinaudio::contract
