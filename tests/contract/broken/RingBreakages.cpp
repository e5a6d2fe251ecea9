// SPDX-License-Identifier: Apache-2.0
#include "tests/contract/broken/Damage.h"
#include "tests/contract/broken/RingObject.h"
#include "wire/Stream.h"

#include <memory>

namespace cabinaudio::broken {

namespace {

using contract::idOf;
using Stream = wire::StreamFunction;
using Capture = wire::CaptureFunction;
using Table = std::vector<Breakage>;

/// A change of the stream's ring.
using Damage = std::function<void(const RingObject& ring)>;

constexpr std::uint32_t START = idOf(Stream::Start);
constexpr std::uint32_t STOP = idOf(Stream::Stop);
static_assert(START == idOf(Capture::Start) && STOP == idOf(Capture::Stop));

/// Before the server handles the start of the stream.
void atStart(Table& table, const std::string& rule, Damage damage) {
    table.push_back({rule,
                     {},
                     [=](const Conversation& client, const Bytes& payload) {
                         if (isOf(rule, client.name) && wordOf(payload, 0) == START)
                             damage(RingObject(client.name));
                     },
                     {},
                     {}});
}

/// Before a request is answered.
void atReply(Table& table, const std::string& rule, std::uint32_t function, Damage damage) {
    table.push_back({rule,
                     {},
                     {},
                     [=](const Conversation& client, const Outgoing& frame) {
                         if (isOf(rule, client.name) && frame.isReply() && client.requests > 0 &&
                             client.function == function)
                             damage(RingObject(client.name));
                     },
                     {}});
}

void breakHeader(Table& table) {
    const std::string rule = "ring.header";
    table.push_back({rule,
                     {},
                     {},
                     [=](const Conversation& client, const Outgoing& frame) {
                         if (isOf(rule, client.name) && !frame.isReply())
                             RingObject(client.name).header().readSem.word[1] = 0;
                     },
                     {}});
}

void breakNotifications(Table& table) {
    atStart(table, "ring.wakes_writer",
            [](const RingObject& ring) { ring.header().writeNotify = 0; });
    atStart(table, "ring.leaves_writer", [](const RingObject& ring) {
        ring.header().writeNotify = 1;
        ring.header().wait = 1;
    });
    atStart(table, "ring.wakes_reader",
            [](const RingObject& ring) { ring.header().readNotify = 0; });
    atStart(table, "ring.leaves_reader",
            [](const RingObject& ring) { ring.header().readNotify = 1; });
}

/// The second stream gets the place of the first one.
void breakPlaces(Table& table) {
    const std::string rule = "ring.disjoint";
    const auto first = std::make_shared<std::uint32_t>(0);
    constexpr std::size_t ADDRESS = 4;
    table.push_back(
        {rule,
         {},
         {},
         replies(own(rule, requests(AUDIO_CONNECT_AUXILIARY, idOf(Stream::GetShareMemory))),
                 [=](Outgoing& frame) {
                     if (*first == 0) *first = wordOf(frame.body, ADDRESS);
                     setWord(frame.body, ADDRESS, *first);
                 }),
         {}});
}

/// The names of the ring's objects are not removed.
void keepObject(Table& table, const std::string& rule) {
    table.push_back(
        {rule, {}, {}, {}, [=](const std::string& object) { return isOf(rule, object); }});
}

}  // namespace

void breakRings(std::vector<Breakage>& table) {
    breakHeader(table);
    breakNotifications(table);
    atReply(table, "ring.update_time", STOP,
            [](const RingObject& ring) { ring.header().updateTime = 1; });
    atReply(table, "ring.stays_inside", STOP, [](const RingObject& ring) {
        ring.byte(sizeof(wire::RingHeader) + ring.header().size) = 0;
    });
    atReply(table, "capture.whole_periods", START,
            [](const RingObject& ring) { ring.header().writeOffset += 2; });
    breakPlaces(table);
    for (const char* kind : {"alternative", "auxiliary", "sink", "capture", "uplink"})
        keepObject(table, std::string("ring.removed.") + kind);
    keepObject(table, "playback.sink.acknowledged");
    keepObject(table, "uplink.acknowledged");
}

}  // namespace cabinaudio::broken
