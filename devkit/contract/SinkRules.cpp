// SPDX-License-Identifier: Apache-2.0
// The source of sinks. Which sink has it is the server's choice; the development server gives it to
// the newest one.
#include "devkit/contract/Outcome.h"
#include "devkit/contract/Rule.h"
#include "devkit/contract/Stream.h"

#include <optional>

namespace cabinaudio::contract {

namespace {

using Id = wire::StreamFunction;
constexpr std::uint32_t ACTIVATED = idOf(wire::SinkEvent::SourceActivated);
constexpr std::uint32_t DEACTIVATED = idOf(wire::SinkEvent::SourceDeactivated);

/// A sink whose source was withdrawn because a second sink got it.
class Withdrawn {
public:
    explicit Withdrawn(Session& session)
        : first(session, SINK), ring(first.ring()), second(std::in_place, session, SINK, "-2") {
        const auto told = first.connection().notification(session.deadline());
        if (!told || told->event != DEACTIVATED)
            throw NotJudged("the server does not withdraw the source for another sink");
    }

    PlaybackStream first;
    Ring ring;  // of the first sink
    std::optional<PlaybackStream> second;
};

void answersQuery(Session& session) {
    Withdrawn sinks(session);
    const std::int32_t status = sinks.first.askForPlace().status;
    require(status == 0, "an answer to function 20 until function 19 was sent",
            "status " + std::to_string(status));
}

void keepsRing(Session& session) {
    Withdrawn sinks(session);
    const Ring other = sinks.second->ring();
    require(Ring::exists(sinks.ring.object()),
            "the ring \"" + sinks.ring.object() + "\" until function 19 was sent",
            "no such object");
    require(other.object() != sinks.ring.object(), "another ring for the other sink",
            "the same object");
}

void acknowledged(Session& session) {
    Withdrawn sinks(session);
    sinks.first.call(Id::SourceDeactivated, "acknowledgement");
    const bool isGone = session.eventually([&] { return !Ring::exists(sinks.ring.object()); });
    require(isGone, "no object \"" + sinks.ring.object() + "\" after the acknowledgement",
            "it is still there after " + session.patienceText());
}

/// The source comes back when the other sink ends, but not before the acknowledgement.
void waitsForAcknowledgement(Session& session) {
    Withdrawn sinks(session);
    sinks.second.reset();
    constexpr std::chrono::milliseconds EARLY{100};
    const auto early = sinks.first.connection().notification(Clock::now() + EARLY);
    require(!early, "no notification before function 19 was sent",
            early ? "event " + std::to_string(early->event) : "");
    sinks.first.call(Id::SourceDeactivated, "acknowledgement");
    const auto told = sinks.first.connection().notification(session.deadline());
    if (!told || told->event != ACTIVATED)
        throw NotJudged("the server does not return the source to this sink");
}

void unasked(Session& session) {
    PlaybackStream sink(session, SINK);
    sink.call(Id::SourceDeactivated, "acknowledgement without a withdrawal");
}

}  // namespace

void addSinkRules(Rules& rules) {
    const auto add = [&](const char* name, const char* sentence, void (*check)(Session&)) {
        rules.push_back({name, sentence, PLAYBACK, Effect::Changes, check});
    };
    add("playback.sink.query_of_withdrawn",
        "The address of a withdrawn ring is told until the withdrawal is acknowledged.",
        answersQuery);
    add("playback.sink.keeps_withdrawn",
        "A withdrawn ring exists until the withdrawal is acknowledged.", keepsRing);
    add("playback.sink.acknowledged", "The ring's object is removed after the acknowledgement.",
        acknowledged);
    add("playback.sink.reactivation", "No source is given before the acknowledgement.",
        waitsForAcknowledgement);
    add("playback.sink.unasked_acknowledgement",
        "An acknowledgement without a withdrawal is accepted.", unasked);
}

}  // namespace cabinaudio::contract
