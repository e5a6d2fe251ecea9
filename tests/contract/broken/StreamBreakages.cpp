// SPDX-License-Identifier: Apache-2.0
#include "tests/contract/broken/Damage.h"
#include "tests/contract/broken/RingObject.h"
#include "wire/Stream.h"

namespace cabinaudio::broken {

namespace {

using contract::idOf;
using Stream = wire::StreamFunction;
using Capture = wire::CaptureFunction;
using Table = std::vector<Breakage>;

constexpr auto SINK = AUDIO_CONNECT_MAIN;
constexpr auto ALTERNATIVE = AUDIO_CONNECT_ALTERNATIVE;
constexpr auto AUXILIARY = AUDIO_CONNECT_AUXILIARY;
constexpr auto INPUT = AUDIO_CONNECT_INPUT0;
constexpr auto UPLINK = AUDIO_CONNECT_UPLINK;

// Places in the replies to a creation and to the query of a ring.
constexpr std::size_t SIZE = 8;
constexpr std::size_t STEP = 12;
constexpr std::size_t PERIOD_MS = 16;

void add(Table& table, const std::string& rule, Change onSend) {
    table.push_back({rule, {}, {}, std::move(onSend), {}});
}

/// The server gets another function.
void replace(Table& table, const std::string& rule, std::uint32_t from, std::uint32_t to) {
    table.push_back({rule,
                     {},
                     [=](const Conversation& client, Bytes& payload) {
                         if (isOf(rule, client.name) && wordOf(payload, 0) == from)
                             setWord(payload, 0, to);
                     },
                     {},
                     {}});
}

/// Another number of an event.
void renumber(Table& table, const std::string& rule, std::uint32_t type, std::uint32_t event) {
    add(table, rule, [=](const Conversation& client, Outgoing& frame) {
        constexpr std::uint32_t NO_EVENT = 77;
        if (!frame.isReply() && client.type == type && frame.header.event == event)
            frame.header.event = NO_EVENT;
    });
}

void breakPlayback(Table& table, const std::string& kind, std::uint32_t type) {
    const std::string begin = "playback." + kind + ".";
    const auto creation = requests(type, idOf(Stream::Create));
    add(table, begin + "create", setsWord(creation, STEP, 0));
    add(table, begin + "stop", setsWord(requests(type, idOf(Stream::Stop)), 0, BAD));
    replace(table, begin + "plays", idOf(Stream::Start), idOf(Stream::Stop));
    const auto query = requests(type, idOf(Stream::GetShareMemory));
    add(table, begin + "ring",
        addsToWord(own(begin + "ring", type == ALTERNATIVE ? creation : query), SIZE, 16));
    if (type == SINK) return;
    add(table, begin + "init_check",
        setsWord(own(begin + "init_check", requests(type, idOf(Stream::InitCheck))), 0, BAD));
}

void breakSinks(Table& table) {
    const std::string begin = "playback.sink.";
    // The second query follows the withdrawal.
    const auto query =
        own(begin + "query_of_withdrawn", requests(SINK, idOf(Stream::GetShareMemory)));
    add(table, begin + "query_of_withdrawn",
        setsWord(
            [=](const Conversation& client) {
                constexpr int SECOND_QUERY = 3;
                return query(client) && client.requests >= SECOND_QUERY;
            },
            0, BAD));
    const auto afterWithdrawal = [&](const std::string& rule, Change change) {
        add(table, begin + rule, [=](const Conversation& client, Outgoing& frame) {
            if (isOf(begin + rule, client.name) && !frame.isReply() &&
                frame.header.event == idOf(wire::SinkEvent::SourceDeactivated))
                change(client, frame);
        });
    };
    afterWithdrawal("keeps_withdrawn",
                    [](const Conversation& client, Outgoing&) { RingObject::remove(client.name); });
    afterWithdrawal("reactivation", [](const Conversation&, Outgoing& frame) {
        frame.body = notification(idOf(wire::SinkEvent::SourceActivated));
    });
    const std::string unasked = begin + "unasked_acknowledgement";
    add(table, unasked,
        setsWord(own(unasked, requests(SINK, idOf(Stream::SourceDeactivated))), 0, BAD));
}

void breakCapture(Table& table) {
    const auto creation = requests(INPUT, idOf(Capture::Create));
    add(table, "capture.create", setsWord(creation, PERIOD_MS, 10));
    add(table, "capture.init_check", setsWord(requests(INPUT, idOf(Capture::InitCheck)), 0, BAD));
    add(table, "capture.ring", addsToWord(own("capture.ring", creation), SIZE, 16));
    replace(table, "capture.records", idOf(Capture::Start), idOf(Capture::Stop));
    replace(table, "capture.stop", idOf(Capture::Stop), idOf(Capture::InitCheck));
    add(table, "capture.volume", flips(requests(INPUT, idOf(Capture::GetVolume)), 4));
    add(table, "capture.volume_range", accepts(requests(INPUT, idOf(Capture::SetVolume))));
}

/// The server's place of the ring is told, but the server does not learn that it was asked for.
void hideQuery(Table& table, const std::string& rule) {
    replace(table, rule, idOf(Capture::GetShareMemory), idOf(Capture::InitCheck));
    table.back().onSend =
        replies(own(rule, requests(UPLINK, idOf(Capture::GetShareMemory))), [=](Outgoing& frame) {
            const RingObject ring(rule);
            frame.body = contract::join(std::uint32_t{0}, ring.address(), ring.header().size);
        });
}

/// Plain sound in place of a codec's frames.
void breakCodec(Table& table, const std::string& rule, std::uint32_t codec) {
    table.push_back({rule,
                     {},
                     [=](const Conversation& client, Bytes& payload) {
                         constexpr std::size_t CODEC = 8;
                         if (client.type == UPLINK && wordOf(payload, 0) == idOf(Capture::Create) &&
                             wordOf(payload, CODEC) == codec)
                             setWord(payload, CODEC, 0);
                     },
                     {},
                     {}});
}

void breakUplink(Table& table) {
    add(table, "uplink.create", setsWord(requests(UPLINK, idOf(Capture::Create)), SIZE, 4096));
    add(table, "uplink.ring",
        addsToWord(own("uplink.ring", requests(UPLINK, idOf(Capture::GetShareMemory))), SIZE, 16));
    hideQuery(table, "uplink.records");
    breakCodec(table, "uplink.unknown_codec", 9999);
    breakCodec(table, "uplink.frames.aac", 16);
    breakCodec(table, "uplink.frames.opus", 32);
    breakCodec(table, "uplink.frames.msbc", 65);
}

}  // namespace

void breakStreams(std::vector<Breakage>& table) {
    breakPlayback(table, "alternative", ALTERNATIVE);
    breakPlayback(table, "auxiliary", AUXILIARY);
    breakPlayback(table, "sink", SINK);
    renumber(table, "playback.auxiliary.finished", AUXILIARY, idOf(wire::TrackEvent::Finished));
    renumber(table, "playback.sink.finished", SINK, idOf(wire::SinkEvent::Finished));
    add(table, "playback.auxiliary.key_shift",
        accepts(requests(AUXILIARY, idOf(Stream::SetKeyShift))));
    breakSinks(table);
    breakCapture(table);
    breakUplink(table);
}

}  // namespace cabinaudio::broken
