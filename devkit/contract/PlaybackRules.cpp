// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Outcome.h"
#include "devkit/contract/Rule.h"
#include "devkit/contract/Stream.h"

namespace cabinaudio::contract {

namespace {

using Id = wire::StreamFunction;

constexpr std::uint32_t PERIODS = 3;  // that are played

void created(Session& session, const PlaybackKind& kind) {
    const PlaybackStream stream(session, kind);
    const wire::CreateReply& reply = stream.created();
    require(reply.perLoopSize > 0 && reply.perLoopSize % std::int32_t{FRAME_BYTES} == 0,
            "a write step of whole frames of 4 bytes",
            std::to_string(reply.perLoopSize) + " bytes");
    if (kind.isAnnounced) return;
    require(reply.ringSize > static_cast<std::uint32_t>(reply.perLoopSize),
            "a ring of more than a write step", std::to_string(reply.ringSize) + " bytes");
}

void usable(Session& session, const PlaybackKind& kind) {
    PlaybackStream stream(session, kind);
    stream.call(Id::InitCheck, "init check");
}

void announced(Session& session, const PlaybackKind& kind) {
    PlaybackStream stream(session, kind);
    const Ring ring = stream.ring();
    require(ring.used() == 0, "an empty ring", std::to_string(ring.used()) + " bytes in it");
}

void plays(Session& session, const PlaybackKind& kind) {
    PlaybackStream stream(session, kind);
    Ring ring = stream.ring();
    stream.startWith(ring, PERIODS * PERIOD_BYTES);
    const bool isTaken = session.eventually([&] { return ring.used() == 0; });
    require(isTaken, "an empty ring after the start of the stream",
            std::to_string(ring.used()) + " bytes after " + session.patienceText());
}

void finishes(Session& session, const PlaybackKind& kind) {
    PlaybackStream stream(session, kind);
    Ring ring = stream.ring();
    stream.startWith(ring, PERIODS * PERIOD_BYTES);
    stream.call(Id::WriteDone, "write done");
    (void)stream.connection().await(kind.finished, "everything has been played");
    require(ring.used() == 0, "an empty ring at the end",
            std::to_string(ring.used()) + " bytes in it");
}

void stops(Session& session, const PlaybackKind& kind) {
    PlaybackStream stream(session, kind);
    Ring ring = stream.ring();
    stream.startWith(ring, PERIOD_BYTES);
    stream.call(Id::Stop, "stop");
    stream.call(Id::Start, "start after a stop");
}

void shiftsKey(Session& session) {
    PlaybackStream stream(session, AUXILIARY);
    constexpr float ALLOWED = 1.1F;
    constexpr float TOO_HIGH = 2.0F;
    stream.connection().accept(join(idOf(Id::SetKeyShift), ALLOWED), "key shift 1.1");
    const std::int32_t status = stream.connection().status(join(idOf(Id::SetKeyShift), TOO_HIGH));
    require(status != 0, "a refusal of key shift 2", "status 0");
}

using Check = void (*)(Session& session, const PlaybackKind& kind);

void add(Rules& rules, const PlaybackKind& kind, const char* subject, const char* sentence,
         Check check) {
    rules.push_back({std::string("playback.") + kind.name + "." + subject, sentence, PLAYBACK,
                     Effect::Changes, [&kind, check](Session& session) { check(session, kind); }});
}

}  // namespace

void addPlaybackRules(Rules& rules) {
    for (const PlaybackKind* kind : {&ALTERNATIVE, &AUXILIARY, &SINK}) {
        add(rules, *kind, "create", "The stream is created, with the size of a write step.",
            created);
        if (kind->hasInitCheck)
            add(rules, *kind, "init_check", "The created stream is usable.", usable);
        add(rules, *kind, "ring",
            kind->isAnnounced ? "The ring is announced, and lies where function 20 says."
                              : "The ring is in the object with the stream's name.",
            announced);
        add(rules, *kind, "plays", "A started stream takes what is in its ring.", plays);
        if (kind->finished != 0)
            add(rules, *kind, "finished",
                "After \"write done\" everything is played, and the client is told.", finishes);
        add(rules, *kind, "stop", "A stream can be stopped and started again.", stops);
    }
    rules.push_back({"playback.auxiliary.key_shift",
                     "Key shifts of 0.8 to 1.2 are accepted, others are refused.", PLAYBACK,
                     Effect::Changes, shiftsKey});
}

}  // namespace cabinaudio::contract
