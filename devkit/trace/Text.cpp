// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/Text.h"

#include "devkit/text/Format.h"
#include "devkit/trace/Load.h"
#include "devkit/trace/Phrase.h"
#include "devkit/trace/RecordTime.h"
#include "wire/Frame.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace cabinaudio::trace {
namespace {

using Bytes = std::span<const std::uint8_t>;
using Of = Happening::Kind;
using text::format;

unsigned long long wide(std::uint64_t value) {
    return value;
}

std::string registrationPhrase(const Happening& happening) {
    if (!happening.isAnswered) return "registers -> no reply";
    return happening.peer.handle != 0 ? "registered" : "registers -> refused";
}

std::string requestPhrase(const Happening& happening) {
    const Bytes payload = behind(happening.request, sizeof(audio_param));
    if (!happening.isAnswered) return phraseOf(happening.peer.type, payload);
    std::string phrase =
        phraseOf(happening.peer.type, payload, behind(happening.reply, sizeof(SocketFrameHeader)),
                 happening.microseconds);
    const auto header = load<SocketFrameHeader>(happening.reply);
    if (header.magic != FRAME_MAGIC) phrase += format(", magic word 0x%08x", header.magic);
    return phrase;
}

std::string ringPhrase(const RingSummary& ring) {
    const std::string fill = format("; %u of %u bytes queued", ring.fill, ring.size);
    const unsigned long long bytes = ring.bytes;
    switch (static_cast<RingEvent>(ring.event)) {
        case RingEvent::Write:
            return format("ring: %u writes of %llu bytes, up to byte %llu", ring.count, bytes,
                          wide(ring.position)) +
                   fill;
        case RingEvent::Read:
            return format("ring: %u reads of %llu bytes, up to byte %llu", ring.count, bytes,
                          wide(ring.position)) +
                   fill;
        case RingEvent::Notify:
            return format("ring: %u wake-ups of the other side", ring.count);
        case RingEvent::Wait:
            return format("ring: %u waits, the longest of %llu us", ring.count,
                          wide(ring.longestWait));
    }
    return format("ring: event %u, %u times", ring.event, ring.count);
}

std::string soundPhrase(Bytes bytes) {
    const auto header = load<SoundHeader>(bytes);
    const bool isToServer = header.direction == static_cast<std::uint32_t>(Direction::ToServer);
    return format("sound to the %s: %zu bytes from byte %llu", isToServer ? "server" : "client",
                  behind(bytes, sizeof header).size(), wide(header.position));
}

std::string happeningPhrase(const Happening& happening) {
    switch (happening.kind) {
        case Of::Connected:
            return "connected";
        case Of::Registration:
            return registrationPhrase(happening);
        case Of::Request:
            return requestPhrase(happening);
        case Of::Notification: {
            const auto header = load<SocketFrameHeader>(happening.bytes);
            return phraseOfEvent(happening.peer.type, header.event, header.param);
        }
        case Of::Disconnected:
            return "disconnected";
        case Of::Ring:
            return ringPhrase(load<RingSummary>(happening.bytes));
        case Of::Sound:
            return soundPhrase(happening.bytes);
        case Of::FromClient:
            return format("sends %zu bytes that are no message", happening.bytes.size());
        case Of::FromServer:
            return format("<- %zu bytes that answer no request", happening.bytes.size());
        case Of::Lost:
            break;
    }
    return {};
}

/// A registration shows a new connection; a connection without one has only looked for a server.
bool isShown(const Happening& happening) {
    const bool isRegistered = happening.peer.type != UNKNOWN;
    return happening.kind != Happening::Kind::Connected &&
           (happening.kind != Happening::Kind::Disconnected || isRegistered);
}

std::string timeText(std::uint64_t timeNs, std::optional<std::uint64_t> beginNs) {
    if (!beginNs) return isoTime(timeNs);
    const auto passed = static_cast<double>(static_cast<std::int64_t>(timeNs - *beginNs));
    return format("%11.6f", passed / 1e9);
}

}  // namespace

std::string textOf(const Happening& happening, std::optional<std::uint64_t> beginNs) {
    if (!isShown(happening)) return {};
    const std::string time = timeText(happening.timeNs, beginNs) + " ";
    if (happening.kind == Happening::Kind::Lost)
        return time + format("%llu records are lost: this reader was slow",
                             wide(load<LostRecords>(happening.bytes).count));
    const Peer& peer = happening.peer;
    return time + lineOf(peer.handle, peer.type, peer.name, happeningPhrase(happening));
}

}  // namespace cabinaudio::trace
