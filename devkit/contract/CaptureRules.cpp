// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Outcome.h"
#include "devkit/contract/Rule.h"
#include "devkit/contract/Stream.h"

namespace cabinaudio::contract {

namespace {

using Id = wire::CaptureFunction;
constexpr auto INPUT = AUDIO_CONNECT_INPUT0;
constexpr std::int32_t PERIOD_MS = 16;

void created(Session& session) {
    const CaptureStream stream(session, INPUT, plainFormat());
    stream.requireCreated();
    const wire::CreateReply& reply = stream.created();
    require(reply.perLoopTime == PERIOD_MS, "periods of 16 ms",
            std::to_string(reply.perLoopTime) + " ms");
    constexpr std::int32_t FRAMES = PERIOD_BYTES / FRAME_BYTES;
    require(reply.perLoopSamples == FRAMES, "768 frames in a period of 48 kHz",
            std::to_string(reply.perLoopSamples));
    require(reply.perLoopSize == std::int32_t{PERIOD_BYTES}, "3072 bytes in a period",
            std::to_string(reply.perLoopSize));
}

void usable(Session& session) {
    CaptureStream stream(session, INPUT, plainFormat());
    stream.requireCreated();
    stream.call(Id::InitCheck, "init check");
}

void inObject(Session& session) {
    const CaptureStream stream(session, INPUT, plainFormat());
    const Ring ring = stream.ring();
    require(ring.used() == 0, "an empty ring", std::to_string(ring.used()) + " bytes in it");
}

void records(Session& session) {
    CaptureStream stream(session, INPUT, plainFormat());
    Ring ring = stream.ring();
    stream.call(Id::Start, "start");
    constexpr std::uint32_t WANTED = 3 * PERIOD_BYTES;
    std::uint32_t taken = 0;
    const bool isThere = session.eventually([&] {
        taken += static_cast<std::uint32_t>(ring.read(ring.used()).size());
        return taken >= WANTED;
    });
    require(isThere, std::to_string(WANTED) + " bytes of sound",
            std::to_string(taken) + " bytes in " + session.patienceText());
}

/// Nobody reads: the ring fills up.
void wholePeriods(Session& session) {
    CaptureStream stream(session, INPUT, plainFormat());
    const Ring ring = stream.ring();
    stream.call(Id::Start, "start");
    const bool isFull =
        session.eventually([&] { return ring.used() + PERIOD_BYTES >= ring.size(); });
    require(isFull, "a ring without room for a period",
            std::to_string(ring.used()) + " bytes in it after " + session.patienceText());
    require(ring.used() % PERIOD_BYTES == 0, "whole periods of 3072 bytes",
            std::to_string(ring.used()) + " bytes");
}

void stops(Session& session) {
    CaptureStream stream(session, INPUT, plainFormat());
    Ring ring = stream.ring();
    stream.call(Id::Start, "start");
    (void)session.eventually([&] { return ring.used() > 0; });
    stream.call(Id::Stop, "stop");
    (void)ring.read(ring.used());  // a full ring gets no more in any case
    const std::uint32_t before = ring.writeOffset();
    constexpr std::chrono::milliseconds SOME_PERIODS{80};
    const Clock::time_point end = Clock::now() + SOME_PERIODS;
    while (Clock::now() < end && ring.writeOffset() == before)
        session.pause();
    require(ring.writeOffset() == before, "no more sound after the stop",
            "a write offset that moves");
}

void volume(Session& session) {
    CaptureStream stream(session, INPUT, plainFormat());
    stream.requireCreated();
    Connection& connection = stream.connection();
    constexpr std::int32_t HALF = 50;
    connection.accept(join(idOf(Id::SetVolume), HALF), "volume 50");
    const auto reply = recordAt<wire::VolumeReply>(
        connection.request(join(idOf(Id::GetVolume)), sizeof(wire::VolumeReply), AUDIO_CMD_CALL));
    require(reply.status == 0 && reply.volume == HALF, "status 0 and volume 50",
            "status " + std::to_string(reply.status) + ", volume " + std::to_string(reply.volume));
}

void volumeRange(Session& session) {
    CaptureStream stream(session, INPUT, plainFormat());
    stream.requireCreated();
    constexpr std::int32_t TOO_LOUD = 101;
    const std::int32_t status = stream.connection().status(join(idOf(Id::SetVolume), TOO_LOUD));
    require(status != 0, "a refusal of volume 101", "status 0");
}

}  // namespace

void addCaptureRules(Rules& rules) {
    const auto add = [&](const char* name, const char* sentence, void (*check)(Session&)) {
        rules.push_back({name, sentence, CAPTURE, Effect::Changes, check});
    };
    add("capture.create", "The stream is created, with the sizes of a period of 16 ms.", created);
    add("capture.init_check", "The created stream is usable.", usable);
    add("capture.ring", "The ring is in the object with the stream's name.", inObject);
    add("capture.records", "A started stream gets sound.", records);
    add("capture.whole_periods", "A period that does not fit is dropped as a whole.", wholePeriods);
    add("capture.stop", "A stopped stream gets no more sound.", stops);
    add("capture.volume", "The volume reads as it was set.", volume);
    add("capture.volume_range", "A volume above 100 is refused.", volumeRange);
}

}  // namespace cabinaudio::contract
