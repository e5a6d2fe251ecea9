// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Outcome.h"
#include "devkit/contract/Rule.h"
#include "devkit/contract/Stream.h"

#include <time.h>

#include <algorithm>
#include <atomic>
#include <memory>

namespace cabinaudio::contract {

namespace {

constexpr auto INPUT = AUDIO_CONNECT_INPUT0;
constexpr std::uint32_t PERIODS = 3;

std::string textOf(const wire::SemaphoreSlot& slot) {
    return hexText(join(slot));
}

void header(Session& session) {
    PlaybackStream stream(session, AUXILIARY);
    const Ring ring = stream.ring();
    const wire::RingHeader& header = ring.header();
    require(header.readOffset == 0 && header.writeOffset == 0, "offsets 0 in a new ring",
            std::to_string(header.readOffset) + " and " + std::to_string(header.writeOffset));
    constexpr std::uint32_t SHARED = 128;
    for (const wire::SemaphoreSlot* slot : {&header.readSem, &header.writeSem}) {
        require(slot->word[0] >> 1 == 0, "a semaphore's count of 0", textOf(*slot));
        require(slot->word[1] == SHARED, "semaphores that processes share, word 1 is 128",
                textOf(*slot));
    }
    require(header.wait == 0, "a wait flag of 0", std::to_string(header.wait));
}

void store(std::uint8_t& flag, std::uint8_t value) {
    std::atomic_ref(flag).store(value, std::memory_order_seq_cst);
}

void requireTaken(const Session& session, const Ring& ring) {
    if (!session.eventually([&] { return ring.used() == 0; }))
        throw NotJudged("the server takes nothing from the ring");
}

void wakesWriter(Session& session) {
    PlaybackStream stream(session, ALTERNATIVE);
    Ring ring = stream.ring();
    store(ring.header().writeNotify, 1);
    store(ring.header().wait, 1);
    stream.startWith(ring, PERIODS * PERIOD_BYTES);
    const bool isPosted =
        session.eventually([&] { return Ring::posts(ring.header().writeSem) > 0; });
    require(isPosted, "a post of writeSem, because writeNotify and wait are 1",
            "no post in " + session.patienceText());
}

void leavesWriter(Session& session) {
    PlaybackStream stream(session, ALTERNATIVE);
    Ring ring = stream.ring();
    stream.startWith(ring, PERIODS * PERIOD_BYTES);
    requireTaken(session, ring);
    const std::uint32_t posts = Ring::posts(ring.header().writeSem);
    require(posts == 0, "no post of writeSem, because writeNotify is 0",
            std::to_string(posts) + " posts");
}

/// Starts a recording and waits for sound in its ring.
void record(const Session& session, CaptureStream& stream, const Ring& ring) {
    stream.call(wire::CaptureFunction::Start, "start");
    if (!session.eventually([&] { return ring.used() >= PERIODS * PERIOD_BYTES; }))
        throw NotJudged("the server writes nothing into the ring");
}

void wakesReader(Session& session) {
    CaptureStream stream(session, INPUT, plainFormat());
    const Ring ring = stream.ring();
    store(ring.header().readNotify, 1);
    record(session, stream, ring);
    const bool isPosted =
        session.eventually([&] { return Ring::posts(ring.header().readSem) > 0; });
    require(isPosted, "a post of readSem, because readNotify is 1",
            "no post in " + session.patienceText());
}

void leavesReader(Session& session) {
    CaptureStream stream(session, INPUT, plainFormat());
    const Ring ring = stream.ring();
    record(session, stream, ring);
    const std::uint32_t posts = Ring::posts(ring.header().readSem);
    require(posts == 0, "no post of readSem, because readNotify is 0",
            std::to_string(posts) + " posts");
}

void updateTime(Session& session) {
    CaptureStream stream(session, INPUT, plainFormat());
    const Ring ring = stream.ring();
    constexpr std::uint64_t US = 1000;
    const std::uint64_t civil = clockUs(CLOCK_REALTIME) / US;
    const std::uint64_t steady = clockUs(CLOCK_MONOTONIC) / US;
    record(session, stream, ring);
    stream.call(wire::CaptureFunction::Stop, "stop");
    const std::uint64_t time = ring.header().updateTime;
    const bool isTime = (time >= steady && time <= clockUs(CLOCK_MONOTONIC) / US) ||
                        (time >= civil && time <= clockUs(CLOCK_REALTIME) / US);
    require(isTime, "the time of the last write, in ms of CLOCK_MONOTONIC",
            std::to_string(time) + ", written after " + std::to_string(steady));
}

/// Twice around, with marks behind the ring.
void staysInside(Session& session) {
    CaptureStream stream(session, INPUT, plainFormat());
    Ring ring = stream.ring();
    constexpr std::uint8_t MARK = 0xa5;
    std::uint8_t* const begin = ring.behind();
    std::uint8_t* const end = begin + ring.behindSize();
    std::fill(begin, end, MARK);
    stream.call(wire::CaptureFunction::Start, "start");
    std::uint32_t taken = 0;
    const bool isRound = session.eventually([&] {
        taken += static_cast<std::uint32_t>(ring.read(ring.used()).size());
        return taken > 2 * ring.size();
    });
    if (!isRound) throw NotJudged("the server does not fill the ring twice in time");
    stream.call(wire::CaptureFunction::Stop, "stop");
    const std::uint8_t* const changed =
        std::find_if(begin, end, [](std::uint8_t byte) { return byte != MARK; });
    require(changed == end, "nothing written behind the ring",
            "a change of byte " + std::to_string(changed - begin) + " behind it");
}

void disjoint(Session& session) {
    PlaybackStream first(session, AUXILIARY);
    PlaybackStream second(session, AUXILIARY, "-2");
    const wire::ShareMemoryReply one = first.announcedPlace();
    const wire::ShareMemoryReply other = second.announcedPlace();
    const bool isApart = one.address >= other.address ? one.address - other.address >= other.size
                                                      : other.address - one.address >= one.size;
    require(isApart, "rings that do not overlap",
            std::to_string(one.size) + " bytes at " + std::to_string(one.address) + " and " +
                std::to_string(other.size) + " at " + std::to_string(other.address));
}

void requireRemoved(const Session& session, const std::string& object) {
    const bool isGone = session.eventually([&] { return !Ring::exists(object); });
    require(isGone, "no object \"" + object + "\" after the end of the connection",
            "it is still there after " + session.patienceText());
}

void removedAfterPlayback(Session& session, const PlaybackKind& kind) {
    auto stream = std::make_unique<PlaybackStream>(session, kind);
    const std::string object = stream->ring().object();
    stream.reset();
    requireRemoved(session, object);
}

void removedAfterCapture(Session& session) {
    auto stream = std::make_unique<CaptureStream>(session, INPUT, plainFormat());
    const std::string object = stream->ring().object();
    stream.reset();
    requireRemoved(session, object);
}

void removedAfterUplink(Session& session) {
    auto stream = std::make_unique<CaptureStream>(session, AUDIO_CONNECT_UPLINK, plainFormat());
    stream->requireCreated();
    stream->call(wire::CaptureFunction::Start, "start");
    const std::string object = stream->mapped(stream->announcedPlace()).object();
    stream.reset();
    requireRemoved(session, object);
}

}  // namespace

void addRingRules(Rules& rules) {
    const auto add = [&](const std::string& name, const char* sentence,
                         std::function<void(Session&)> check) {
        rules.push_back({"ring." + name, sentence, RINGS, Effect::Changes, std::move(check)});
    };
    add("header", "A new ring is empty, with semaphores that processes share.", header);
    add("wakes_writer", "A read posts writeSem when the writer waits.", wakesWriter);
    add("leaves_writer", "A read posts nothing when writeNotify is 0.", leavesWriter);
    add("wakes_reader", "A write posts readSem when readNotify is 1.", wakesReader);
    add("leaves_reader", "A write posts nothing when readNotify is 0.", leavesReader);
    add("update_time", "A write stores its time.", updateTime);
    add("stays_inside", "Nothing is written behind a ring.", staysInside);
    add("disjoint", "Rings of two streams do not overlap.", disjoint);
    for (const PlaybackKind* kind : {&ALTERNATIVE, &AUXILIARY, &SINK})
        add(std::string("removed.") + kind->name,
            "The ring's object is removed at the end of the connection.",
            [kind](Session& session) { removedAfterPlayback(session, *kind); });
    add("removed.capture", "The ring's object is removed at the end of the connection.",
        removedAfterCapture);
    add("removed.uplink", "The ring's object is removed at the end of the connection.",
        removedAfterUplink);
}

}  // namespace cabinaudio::contract
